#include "scenegraph/io/SDB.h"

#include "scenegraph/io/detail/Limits.h"
#include "scenegraph/io/detail/Positions.h"
#include "support/Testing.h"

#include <ios>

namespace
{

using namespace test;

constexpr std::ios::iostate AT_END = std::ios::eofbit | std::ios::failbit;

TEST(PropertyTagTest, takesOneWholeTagAndLeavesTheStreamBehindIt)
{
    // the bytes, the tag (none is found if empty), what follows it, and the state of the stream
    const std::tuple<std::string, std::string, std::string, std::ios::iostate> cases[] = {
        {"{a{b}c}more", "{a{b}c}", "more", {}},
        {"\r\n} \xff x{}{b}", "{}", "{b}", {}},
        {"{a\n}{b}", "", "}{b}", {}},
        {"{a\r{b}}", "", "{b}}", {}},
        {"no tag \n here", "", "", AT_END},
        {"{a{b}c", "", "", AT_END},
        {"", "", "", AT_END},
    };
    for (const auto& [bytes, tag, rest, state] : cases)
    {
        SCOPED_TRACE(bytes);
        std::istringstream in(bytes);
        std::string text = "unchanged";
        EXPECT_EQ(sdb::internal::getNextPropertyTag(in, text), !tag.empty());
        EXPECT_EQ(text, tag.empty() ? "unchanged" : tag);
        EXPECT_EQ(in.rdstate(), state);
        in.clear();
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), rest);
    }
}

TEST(PropertyTagTest, oneByteBeyondTheLimitMakesATagUnreadable)
{
    std::string bytes = "{" + std::string(sdb::detail::MAX_TAG_BYTES - 1, ' ') + "}";
    std::string text;
    std::istringstream tooLong(bytes);
    EXPECT_FALSE(sdb::internal::getNextPropertyTag(tooLong, text));
    EXPECT_TRUE(tooLong.good());
    bytes.erase(1, 1);
    std::istringstream longest(bytes);
    EXPECT_TRUE(sdb::internal::getNextPropertyTag(longest, text));
    EXPECT_EQ(text.size(), sdb::detail::MAX_TAG_BYTES);
}

/// Breaks down after some bytes, as a file on a failing disk does.
class BrokenDevice : public std::streambuf
{
public:
    explicit BrokenDevice(std::string bytes)
        : _bytes(std::move(bytes))
    {
        setg(_bytes.data(), _bytes.data(), _bytes.data() + _bytes.size());
    }

protected:
    int_type underflow() override { throw std::ios_base::failure("device"); }

private:
    std::string _bytes;
};

TEST(PropertyTagTest, aBrokenDeviceShowsInTheStreamAndThrowsOnlyOnRequest)
{
    BrokenDevice device("{a");
    std::istream in(&device);
    std::string text;
    EXPECT_FALSE(sdb::internal::getNextPropertyTag(in, text));
    EXPECT_TRUE(in.bad());
    in.clear();
    in.exceptions(std::ios::badbit);
    EXPECT_THROW(sdb::internal::getNextPropertyTag(in, text), std::ios_base::failure);
}

TEST(PropertyTagTest, positionsAreSixteenDigitsAndReadInAnyWidth)
{
    EXPECT_EQ(sdb::detail::hexPosition(420), "00000000000001a4");
    EXPECT_EQ(sdb::detail::hexPosition(UINT64_MAX), "ffffffffffffffff");
    const Properties tag(R"({"a":"00000000000001a4","b":"1A4","c":"","d":"x","e":" 0x1a4;","f":"-1","g":7})");
    for (const auto& [key, position] :
         {std::pair("a", 420), {"b", 420}, {"e", 420}, {"c", 0}, {"d", 0}, {"g", 0}, {"missing", 0}, {"f", -1}})
    {
        EXPECT_EQ(sdb::hexFromProp(tag, key), static_cast<std::uint64_t>(position)) << key;
    }
}

TEST(PropertyTagTest, checksumsAreTheCrcOfTheOwner)
{
    // Values of the published crc32 for "sk0" and "skn-3".
    EXPECT_EQ(sdb::getChecksum("s", "k", "", sdb::PolyData), 0x09268ddbU);
    EXPECT_EQ(sdb::getChecksum("s", "k", "n", static_cast<sdb::SDBTags>(-3)), 0x49c4c0d3U);
    EXPECT_EQ(sdb::getChecksum("sk", "", "", sdb::PolyData), 0x09268ddbU);
}

TEST(PropertyTagTest, rewindingGoesToTheEndOfWhatTheTagDescribes)
{
    const std::tuple<const char*, std::ios::iostate, std::ios::iostate, int> cases[] = {
        {R"({"FilePos":"3","Length":"4"})", std::ios::eofbit, std::ios::goodbit, 7},
        {"{}", std::ios::goodbit, std::ios::goodbit, 0},
        {R"({"FilePos":"3","Length":"4"})", AT_END, std::ios::failbit, -1},
        {R"({"FilePos":"ffffffffffffffff","Length":"8"})", std::ios::goodbit, std::ios::failbit, -1},
        {R"({"FilePos":"7fffffffffffffff","Length":"1"})", std::ios::goodbit, std::ios::failbit, -1},
    };
    for (const auto& [tag, before, after, position] : cases)
    {
        std::istringstream in("0123456789");
        in.setstate(before);
        sdb::internal::rewindToEndOfTag(in, Properties(tag));
        EXPECT_EQ(in.rdstate(), after) << tag;
        EXPECT_EQ(in.tellg(), position) << tag;
    }
}

} // namespace
