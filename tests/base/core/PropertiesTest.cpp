#include "core/Properties.h"

#include "core/Error.h"
#include "support/Testing.h"

namespace
{

Properties nested(int depth)
{
    Properties record;
    for (int i = 1; i < depth; ++i)
    {
        Properties outer;
        outer.set("p", std::move(record));
        record = std::move(outer);
    }
    return record;
}

TEST(PropertiesTest, rendersOneLineInTheOrderOfSetting)
{
    Properties record;
    record.set("b", "x");
    record.set("a", -7);
    record.set("m", std::map<std::string, int>{{"k", 2}});
    record.set("b", "ignored");
    record.set("a", 8, Properties::Overwrite);
    record.set("long", 9223372036854775807LL);
    record.set("null", static_cast<const char*>(nullptr));
    EXPECT_EQ(record.toString(), R"({"b":"x","a":8,"m":{"k":2},"long":9223372036854775807,"null":""})");
    EXPECT_EQ(Properties(R"({"a":1,"b":{"x":1},"a":"last"})").toString(), R"({"a":"last","b":{"x":1}})");
    EXPECT_EQ(Properties().toString(), "{}");
}

TEST(PropertiesTest, everyByteStringSurvivesAndLeavesNoRawBraceOrLineBreak)
{
    std::string all;
    for (int byte = 0; byte < 256; ++byte)
    {
        all += static_cast<char>(byte);
    }
    Properties record;
    record.set(all, all);
    const std::string text = record.toString();
    EXPECT_EQ(text.find_first_of("{}\r\n", 1), text.size() - 1);
    EXPECT_EQ(Properties(text).getString(all), all);
    EXPECT_NE(text.find(R"(\u0000)"), std::string::npos);
    EXPECT_NE(text.find(R"(\u007b|\u007d)"), std::string::npos);
}

TEST(PropertiesTest, textThatIsNoRecordReadsAsEmpty)
{
    for (const char* text : {"", "{", "{X=1}", "[]", R"({"a":1.5})", R"({"a":[1]})", R"({"a":true})", R"({"a":1}{})",
                             R"({"a":18446744073709551615})", "{\"a\":\"\n\"}", R"({"a":"\x"})"})
    {
        EXPECT_TRUE(Properties(text).empty()) << text;
    }
    EXPECT_TRUE(Properties(std::string("{\"a\":1}\0", 8)).empty());
    EXPECT_EQ(Properties(R"( { "a" : "\u00e4\/" , "a" : 9223372036854775807 } )").getLong("a"), INT64_MAX);
    EXPECT_EQ(Properties(R"({"a":"\u00e4"})").getString("a"), "\xc3\xa4");
}

TEST(PropertiesTest, nestingIsBoundedInBothDirections)
{
    const Properties deepest = nested(Properties::MAX_DEPTH);
    EXPECT_EQ(Properties(deepest.toString()), deepest);
    EXPECT_THROW(Properties().set("p", deepest), InternalError);
    EXPECT_TRUE(Properties(R"({"p":)" + deepest.toString() + "}").empty());
    EXPECT_TRUE(Properties(std::string(1000000, '{')).empty());

    Properties record;
    record.set("p", nested(Properties::MAX_DEPTH - 1));
    record.set("p", Properties(), Properties::Overwrite);
    EXPECT_NO_THROW(Properties().set("p", record)) << "what was replaced counts no more";
}

TEST(PropertiesTest, damagedTextReadsAsSomeRecordOrAsEmpty)
{
    const std::string text = R"({"a\u007b":"x\\\"\n","n":-12,"p":{"m":{"k":9223372036854775807}},"e":{}})";
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        EXPECT_TRUE(Properties(text.substr(0, i)).empty()) << "cut at " << i;
        for (int byte = 0; byte < 256; ++byte)
        {
            std::string damaged = text;
            damaged[i] = static_cast<char>(byte);
            const Properties record(damaged);
            EXPECT_EQ(Properties(record.toString()), record) << damaged;
        }
    }
}

TEST(PropertiesTest, equalityAndCopiesGoByContentNotByOrder)
{
    const Properties record(R"({"a":1,"p":{"x":"1","y":2}})");
    EXPECT_EQ(record, Properties(R"({"p":{"y":2,"x":"1"},"a":1})"));
    for (const char* other : {R"({"a":1})", R"({"a":1,"p":{"x":"1","y":3}})", R"({"a":"1","p":{"x":"1","y":2}})",
                              R"({"a":1,"q":{"x":"1","y":2}})", "{}"})
    {
        EXPECT_NE(record, Properties(other)) << other;
        EXPECT_NE(Properties(other), record) << other;
    }
    Properties copy = record;
    copy.set("a", 2, Properties::Overwrite);
    copy.remove("p");
    EXPECT_EQ(record.toString(), R"({"a":1,"p":{"x":"1","y":2}})");
    EXPECT_EQ(copy.toString(), R"({"a":2})");
    copy.remove("a");
    EXPECT_EQ(copy, Properties());
}

TEST(PropertiesTest, accessorsAnswerForMissingKeysAndOtherKinds)
{
    const Properties record(R"({"s":"x","big":4294967296,"m":{"a":1,"big":4294967296,"s":"x"}})");
    EXPECT_EQ(record.getInt("s") + record.getInt("big"), 0);
    EXPECT_EQ(record.getString("big"), "");
    EXPECT_TRUE(record.getProperties("s").empty());
    std::map<std::string, int> map{{"old", 1}};
    record.get("m", map);
    EXPECT_EQ(map, (std::map<std::string, int>{{"a", 1}}));
    EXPECT_FALSE(record.hasName("none"));
}

TEST(PropertiesTest, keysOfALargeRecordAreFoundAfterRenameAndRemove)
{
    Properties record;
    for (int i = 0; i < 100; ++i)
    {
        record.set("key" + std::to_string(i), i);
    }
    record.rename("key7", "seven");
    record.rename("key8", "key9");
    record.remove("key3");
    EXPECT_EQ(record.getInt("seven"), 7);
    EXPECT_EQ(record.getInt("key8"), 8);
    EXPECT_EQ(record.getInt("key99"), 99);
    EXPECT_EQ(record.names()[6], "seven");
    EXPECT_EQ(record.size(), 99U);
    EXPECT_EQ(Properties(record.toString()), record);
}

} // namespace
