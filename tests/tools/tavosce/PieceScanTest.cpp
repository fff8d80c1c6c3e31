#include "PieceScan.h"

#include "scenegraph/io/detail/Index.h"
#include "support/ContainerBytes.h"
#include "support/LogCapture.h"

namespace
{

using namespace test;
using tavosce::FilePiece;

std::vector<FilePiece> scan(const std::string& bytes)
{
    std::istringstream in(bytes);
    return tavosce::scanPieces(in, bytes.size());
}

/// The kinds of the pieces, one letter each; lower case for what readers do not reach.
std::string kindsOf(const std::vector<FilePiece>& pieces)
{
    std::string res;
    for (const FilePiece& piece : pieces)
    {
        const char letter = "HRTUOSX"[piece.kind];
        res += piece.reached ? letter : static_cast<char>(std::tolower(letter));
    }
    return res;
}

void expectTiling(const std::vector<FilePiece>& pieces, std::size_t size)
{
    std::uint64_t position = 0;
    for (const FilePiece& piece : pieces)
    {
        EXPECT_EQ(piece.begin, position);
        EXPECT_GT(piece.end, piece.begin);
        position = piece.end;
    }
    EXPECT_EQ(position, size);
}

TEST(PieceScanTest, aFileIsTakenApartWhateverIsInIt)
{
    const LogCapture log;
    const Edit zeroLength = position("Length", 0);
    const Edit tooLong = position("Length", 100000);
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {ContainerBytes().record("a").thumbnail(0).record("b").str(), "HRTR"},
        {ContainerBytes().record("a", {}, zeroLength).record("b").str(), "HUR"},
        {ContainerBytes().record("a").raw("junk").record("b").raw("\n").str(), "HRXRX"},
        {ContainerBytes().record("a").raw(R"({"DataField":"Other"})").record("b").str(), "HROR"},
        {ContainerBytes().record("a").raw(R"({"a":1}{"b":1})").record("b").str(), "HRSsr"},
        {ContainerBytes().record("a").raw("{no\ntag").record("b").thumbnail(1).str(), "HRXrt"},
        {ContainerBytes().record("a", {}, tooLong).record("b").str(), "HRr"},
        {ContainerBytes().thumbnail(0, tooLong).record("b").str(), "HTr"},
        {ContainerBytes().record("a").record("b", {}, tooLong).str(), "HRR"},
        {ContainerBytes().record("a").raw(R"({"DataField":"Header","Ver)").str(), "HRU"},
        {"damaged" + ContainerBytes().record("a").str().substr(7), "XR"},
    };
    for (const auto& [bytes, kinds] : cases)
    {
        SCOPED_TRACE(bytes);
        EXPECT_EQ(kindsOf(scan(bytes)), kinds);
        expectTiling(scan(bytes), bytes.size());
    }
}

TEST(PieceScanTest, noDamageOfAByteAndNoCutHidesWhatIsBehindIt)
{
    const LogCapture log;
    ContainerBytes file;
    const std::uint64_t firstEnd = file.record("a", {{"T", "abc\n"}}).size();
    const std::uint64_t secondEnd = file.thumbnail(0).record("b", {{"U", "x{y"}}).size();
    const std::string bytes = file.record("last").str();
    for (std::size_t n = 0; n < bytes.size(); ++n)
    {
        for (const char byte : {'9', n % 2 == 0 ? '{' : '}', n % 3 == 0 ? '"' : '\n'})
        {
            std::string damaged = bytes;
            damaged[n] = byte;
            const auto pieces = scan(damaged);
            SCOPED_TRACE("byte " + std::to_string(n) + " set to " + byte);
            expectTiling(pieces, damaged.size());
            const auto isWhole = [&](const FilePiece& piece)
            {
                return piece.kind == FilePiece::Record && piece.fault.empty() && piece.begin == secondEnd &&
                       piece.end == bytes.size();
            };
            EXPECT_TRUE(n >= secondEnd || std::any_of(pieces.begin(), pieces.end(), isWhole));
        }
        expectTiling(scan(bytes.substr(0, n)), n);
        EXPECT_GE(scan(bytes.substr(0, n)).size(), n > firstEnd ? 3 : 0);
    }
}

TEST(PieceScanTest, aFileMadeToBeReadOverAndOverIsNot)
{
    const LogCapture log;
    // Each brace could be a tag that ends with the file, and each header seems to have a record of all that follows.
    ContainerBytes braces;
    ContainerBytes headers;
    ContainerBytes records; // the payload of each is a tag that could end with the file
    for (int i = 0; i < 1000; ++i)
    {
        braces.raw("{").record("a");
        headers.record("a", {}, position("FilePos", 0));
        records.record("a", {{"T", "{", {}, position("Length", 0)}});
    }
    expectTiling(scan(braces.str()), braces.size());
    expectTiling(scan(headers.str()), headers.size());
    EXPECT_EQ(scan(records.str()).back().fault, "not looked at, after so much damage");
    const auto pieces = scan(braces.str());
    EXPECT_EQ(std::count_if(pieces.begin(), pieces.end(),
                            [](const FilePiece& piece) { return piece.kind == FilePiece::Record; }),
              1000);
}

} // namespace
