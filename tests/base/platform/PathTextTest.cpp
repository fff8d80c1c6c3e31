#include "platform/FileSystem.h"

#include "support/Testing.h"

namespace
{

TEST(PathTextTest, everyNameSurvives)
{
    // Pieces of every kind of sequence: whole, cut short, too long, of surrogates, beyond the last character.
    const std::string bytes = "a/\x80\xbf\xc0\xc3\xa4\xe2\x82\xac\xed\xa0\xf0\x9f\x98\xf4\x90\xff";
    std::vector<std::string> names{""};
    for (std::size_t i = 0; names[i].size() < 4; ++i)
    {
        for (const char byte : bytes)
        {
            names.push_back(names[i] + byte);
        }
    }
    for (const std::string& name : names)
    {
        ASSERT_EQ(OS::toNarrow(OS::toWide(name)), name) << testing::PrintToString(name);
    }
}

TEST(PathTextTest, textIsUtf8AndOtherBytesAreEscaped)
{
    const std::pair<std::string, std::wstring> cases[] = {
        {"a\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80", L"a\u00e4\u20ac\U0001f600"},
        {"\xffx\x80", {wchar_t{0xdcff}, L'x', wchar_t{0xdc80}}},
        {"\xed\xb2\x80", {wchar_t{0xdced}, wchar_t{0xdcb2}, wchar_t{0xdc80}}}, // an encoded surrogate is no text
        {std::string("a\0b", 3), std::wstring(L"a\0b", 3)}};
    for (const auto& [narrow, wide] : cases)
    {
        EXPECT_EQ(OS::toWide(narrow), wide);
        EXPECT_EQ(OS::toNarrow(wide), narrow);
    }
}

TEST(PathTextTest, whatIsNoCharacterIsReplaced)
{
    for (const std::uint32_t code : {0xd800U, 0xdbffU, 0xdc2fU, 0xdc7fU, 0xdd00U, 0xdfffU, 0x110000U, 0xffffffffU})
    {
        EXPECT_EQ(OS::toNarrow({L'x', static_cast<wchar_t>(code), L'y'}), "x\xef\xbf\xbdy") << code;
    }
}

} // namespace
