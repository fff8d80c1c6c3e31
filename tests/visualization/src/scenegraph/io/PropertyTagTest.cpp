#include "scenegraph/io/SDB.h"

#include "scenegraph/io/detail/Limits.h"
#include "scenegraph/io/detail/Positions.h"

#include <ios>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace
{

struct TagCase
{
    std::string bytes;
    std::string tag; ///< none is found if empty
    std::string rest;
    std::ios::iostate state;
};

constexpr std::ios::iostate AT_END = std::ios::eofbit | std::ios::failbit;

class NextPropertyTagTest : public testing::TestWithParam<TagCase>
{
};

TEST_P(NextPropertyTagTest, takesOneWholeTagAndLeavesTheStreamBehindIt)
{
    std::istringstream in(GetParam().bytes);
    std::string text = "unchanged";
    EXPECT_EQ(sdb::internal::getNextPropertyTag(in, text), !GetParam().tag.empty());
    EXPECT_EQ(text, GetParam().tag.empty() ? "unchanged" : GetParam().tag);
    EXPECT_EQ(in.rdstate(), GetParam().state);
    in.clear();
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), GetParam().rest);
}

INSTANTIATE_TEST_SUITE_P(PropertyTagTest, NextPropertyTagTest,
                         testing::Values(TagCase{"{a{b}c}more", "{a{b}c}", "more", std::ios::goodbit},
                                         TagCase{"\r\n} \xff x{}{b}", "{}", "{b}", std::ios::goodbit},
                                         TagCase{"{a\n}{b}", "", "}{b}", std::ios::goodbit},
                                         TagCase{"{a\r{b}}", "", "{b}}", std::ios::goodbit},
                                         TagCase{"no tag \n here", "", "", AT_END}, TagCase{"{a{b}c", "", "", AT_END},
                                         TagCase{"", "", "", AT_END}));

TEST(PropertyTagTest, everyPrefixOfATagIsNone)
{
    const std::string tag = R"({"a":{"b":{}},"c":"\u007b"})";
    for (std::size_t n = 0; n < tag.size(); ++n)
    {
        std::istringstream in(tag.substr(0, n));
        Properties properties(R"({"old":1})");
        EXPECT_FALSE(sdb::getNextProperty(in, properties)) << "cut at " << n;
        EXPECT_TRUE(properties.empty());
        EXPECT_EQ(in.rdstate(), AT_END);
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
    for (const char* key : {"a", "b", "e"})
    {
        EXPECT_EQ(sdb::hexFromProp(tag, key), 420U) << key;
    }
    for (const char* key : {"c", "d", "g", "missing"})
    {
        EXPECT_EQ(sdb::hexFromProp(tag, key), 0U) << key;
    }
    EXPECT_EQ(sdb::hexFromProp(tag, "f"), UINT64_MAX);
}

TEST(PropertyTagTest, checksumsAreTheCrcOfTheOwner)
{
    // Values of the published crc32 for "sk0" and "skn-3".
    EXPECT_EQ(sdb::getChecksum("s", "k", "", sdb::PolyData), 0x09268ddbU);
    EXPECT_EQ(sdb::getChecksum("s", "k", "n", static_cast<sdb::SDBTags>(-3)), 0x49c4c0d3U);
    EXPECT_EQ(sdb::getChecksum("sk", "", "", sdb::PolyData), 0x09268ddbU);
}

struct RewindCase
{
    const char* tag;
    std::ios::iostate before;
    std::ios::iostate after;
    int position;
};

TEST(PropertyTagTest, rewindingGoesToTheEndOfWhatTheTagDescribes)
{
    for (const RewindCase& c :
         {RewindCase{R"({"FilePos":"3","Length":"4"})", std::ios::eofbit, std::ios::goodbit, 7},
          RewindCase{"{}", std::ios::goodbit, std::ios::goodbit, 0},
          RewindCase{R"({"FilePos":"3","Length":"4"})", AT_END, std::ios::failbit, -1},
          RewindCase{R"({"FilePos":"ffffffffffffffff","Length":"8"})", std::ios::goodbit, std::ios::failbit, -1},
          RewindCase{R"({"FilePos":"7fffffffffffffff","Length":"1"})", std::ios::goodbit, std::ios::failbit, -1}})
    {
        std::istringstream in("0123456789");
        in.setstate(c.before);
        sdb::internal::rewindToEndOfTag(in, Properties(c.tag));
        EXPECT_EQ(in.rdstate(), c.after) << c.tag;
        EXPECT_EQ(in.tellg(), c.position) << c.tag;
    }
}

} // namespace
