#include "scenegraph/io/SDB.h"

#include "platform/FileStreams.h"
#include "scenegraph/io/detail/Blocks.h"
#include "scenegraph/io/detail/MemoryStream.h"
#include "support/Golden.h"
#include "support/LogCapture.h"
#include "support/TemporaryDirectory.h"

#include <random>

#include <zlib.h>

namespace
{

using namespace test;
using sdb::detail::BlockResult;
using tsg::CompressionMethods;

std::string written(const std::string& data, CompressionMethods method)
{
    std::ostringstream out;
    EXPECT_TRUE(sdb::writeCompressed(out, data.data(), data.size(), method));
    return out.str();
}

std::string noise(std::size_t size)
{
    std::minstd_rand random(1);
    std::string bytes(size, '\0');
    for (char& byte : bytes)
    {
        byte = static_cast<char>(random() >> 8);
    }
    return bytes;
}

TEST(BlockTest, bytesAreThoseOfTheFormatPage)
{
    EXPECT_TRUE(isGolden("block-none.bin", written("abc", CompressionMethods::None)));
    EXPECT_TRUE(isGolden("block-zlib.bin", written(std::string(40, 'a'), CompressionMethods::Zlib)));
    const LogCapture log;
    EXPECT_TRUE(isGolden("block-empty.bin", written("", CompressionMethods::Zlib)));
    EXPECT_THAT(log.entries, ElementsAre("sdb::writeCompressed: suspicious request to write an array of zero length"));
}

TEST(BlockTest, writingTellsOfUnknownMethodsAndFullDisks)
{
    const LogCapture log;
    std::ostringstream out;
    EXPECT_FALSE(sdb::writeCompressed(out, "a", 1, static_cast<CompressionMethods>(2)));
    EXPECT_EQ(out.str(), "\2");
    EXPECT_THAT(log.entries, ElementsAre("sdb::writeCompressed: unknown compression method"));
    out.str("");
    EXPECT_FALSE(sdb::writeCompressed(out, "a", std::uint64_t{1} << 32, CompressionMethods::Zlib));
    EXPECT_EQ(out.str(), "\1") << "lengths have 32 bits";
    out.setstate(std::ios::badbit);
    EXPECT_FALSE(sdb::writeCompressed(out, "a", 1, CompressionMethods::None));
    EXPECT_FALSE(sdb::writeCompressed(out, "a", 1, CompressionMethods::Zlib));
}

TEST(BlockTest, damagedBlocksAreReportedByBothReaders)
{
    // position: of the stream afterwards
    const std::string whole = golden("block-zlib.bin");
    const auto failed = [](const std::string& count)
    { return "sdb::readCompressed: failed to read " + count + " bytes from input stream!"; };
    const std::tuple<std::string, std::vector<std::string>, int> cases[] = {
        {"\2rest", {"sdb::readCompressed: unknown compression method"}, 1},
        {std::string("\0abc", 4), {failed("40")}, -1},
        {"", {failed("40")}, -1},
        {whole.substr(0, 28), {failed("12")}, -1},
        {whole.substr(0, 5), {failed("0")}, -1},
        {std::string(whole).replace(20, 1, 1, static_cast<char>(whole[20] ^ 0x55)), {}, 29},
    };
    for (const auto& [bytes, messages, position] : cases)
    {
        for (const bool isBounded : {false, true})
        {
            const LogCapture log;
            std::istringstream in(bytes);
            std::string back(40, '.');
            EXPECT_FALSE(isBounded ? isSound(sdb::detail::readBlock(in, back.data(), 40))
                                   : sdb::readCompressed(in, back.data(), 40));
            EXPECT_EQ(log.entries, messages);
            EXPECT_EQ(in.tellg(), position);
            EXPECT_TRUE(!isBounded || back.find('.') == std::string::npos) << "old memory is shown";
        }
    }
}

TEST(BlockTest, theExportedReaderTrustsTheBlocksOwnLength)
{
    std::istringstream in(written(std::string(50, 'x'), CompressionMethods::Zlib));
    std::string back(50, '\0');
    EXPECT_TRUE(sdb::readCompressed(in, back.data(), 40));
    EXPECT_EQ(back, std::string(50, 'x'));
}

TEST(BlockTest, theBoundedReaderKeepsToItsDestination)
{
    const LogCapture log;
    std::istringstream longer(written(noise(50), CompressionMethods::Zlib) + "next");
    std::string back(41, '.');
    EXPECT_EQ(sdb::detail::readBlock(longer, back.data(), 40), BlockResult::Longer);
    EXPECT_EQ(back, noise(40) + ".");
    EXPECT_EQ(longer.str().substr(static_cast<std::size_t>(longer.tellg())), "next");
    EXPECT_THAT(log.entries, ElementsAre(HasSubstr("block of 50 bytes is longer than the expected 40")));

    std::istringstream shorter(written(noise(30), CompressionMethods::Zlib));
    back.assign(40, '.');
    EXPECT_EQ(sdb::detail::readBlock(shorter, back.data(), 40), BlockResult::Shorter);
    EXPECT_EQ(back, noise(30) + std::string(10, '\0'));
}

TEST(BlockTest, noBitOfACompressedBlockFlipsUnnoticed)
{
    const std::string content = noise(300);
    const std::string whole = written(content, CompressionMethods::Zlib);
    for (std::size_t bit = 0; bit < 8 * whole.size(); ++bit)
    {
        const LogCapture log;
        std::string damaged = whole;
        damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << bit % 8));
        sdb::detail::MemoryStream in(damaged.data(), damaged.size());
        std::string back(content.size(), '.');
        const BlockResult result = sdb::detail::readBlock(in, back.data(), content.size());
        EXPECT_TRUE(result != BlockResult::Whole || back == content) << "bit " << bit;
    }
}

TEST(BlockTest, aLyingCompressedLengthTakesNothing)
{
    const LogCapture log;
    std::string bytes = golden("block-zlib.bin");
    bytes[14] = '\x7f'; // more than 100 TiB
    std::istringstream in(bytes);
    std::string back(40, '\0');
    EXPECT_EQ(sdb::detail::readBlock(in, back.data(), 40), BlockResult::CutOff);
    EXPECT_THAT(log.entries, ElementsAre(HasSubstr("failed to read 139637976727564 bytes")));
}

/// Writing in pieces must not show in the bytes.
TEST(BlockTest, streamedBlocksAreThoseOfOneCall)
{
    const TemporaryDirectory folder;
    const TemporaryFile path = folder.file("f");
    for (const std::size_t size : {2, 65536, 3 << 20})
    {
        for (const std::string& content :
             {noise(size), std::string(size, 'z'), noise(size / 2) + std::string(size / 2, 0)})
        {
            uLongf bound = compressBound(content.size());
            std::string expected(bound, '\0');
            ASSERT_EQ(compress(reinterpret_cast<Bytef*>(expected.data()), &bound,
                               reinterpret_cast<const Bytef*>(content.data()), content.size()),
                      Z_OK);
            expected.resize(bound);
            EXPECT_EQ(written(content, CompressionMethods::Zlib).substr(17), expected);
            std::uint64_t told = 0;
            const sdb::detail::Pulse pulse = [&](std::uint64_t bytes) { told += bytes; };
            writeBytes(path.narrow, "before");
            OS::UpdateStream file(path.wide);
            file.seekp(6);
            EXPECT_TRUE(sdb::detail::writeBlock(file, content.data(), content.size(), CompressionMethods::Zlib, pulse));
            EXPECT_EQ(told, content.size());
            file.close();
            EXPECT_EQ(bytesOf(path.narrow), "before" + written(content, CompressionMethods::Zlib));
        }
    }
}

} // namespace
