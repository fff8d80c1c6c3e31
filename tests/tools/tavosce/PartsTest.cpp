#include "DatasetComparison.h"
#include "Json.h"
#include "LibraryLog.h"
#include "ProgressBar.h"
#include "Suggestion.h"
#include "Text.h"

#include "support/ToolRun.h"

#include <iostream>

namespace
{

using namespace test;

TEST(TextTest, whatComesFromFilesIsEscaped)
{
    // as a message shows it, as it names a file
    const std::tuple<std::string, const char*, const char*> cases[] = {
        {"Node_1 \xc3\xa9:*", "Node_1 \xc3\xa9:*", "Node_1 \xc3\xa9:*"},
        {"a\nb\tc\\", "a\\nb\\tc\\\\", "a%0Ab%09c\\"},
        {"\x1b[31m\x7f", "\\x1b[31m\\x7f", "%1B[31m%7F"},
        {"\xc2\x85\xff\xc3", "\\xc2\\x85\\xff\\xc3", "%C2%85%FF%C3"},
        {std::string("a\0", 2), "a\\x00", "a%00"},
        {"\u202egnp.\u2028\u200f", "\\xe2\\x80\\xaegnp.\\xe2\\x80\\xa8\\xe2\\x80\\x8f",
         "%E2%80%AEgnp.%E2%80%A8%E2%80%8F"},
        {"\u2066\uffff\U0001ffff", "\\xe2\\x81\\xa6\\xef\\xbf\\xbf\U0001ffff", "%E2%81%A6%EF%BF%BF\U0001ffff"},
        {"a/b", "a/b", "a%2Fb"},
        {"a%2Fb", "a%2Fb", "a%252Fb"},
        {"100% x", "100% x", "100% x"}};
    for (const auto& [text, shown, fileName] : cases)
    {
        EXPECT_EQ(tavosce::shown(text), shown);
        EXPECT_EQ(tavosce::fileNameOf(text), fileName);
    }
    EXPECT_EQ(tavosce::inQuotes("a\"\\\n"), R"("a\"\\\n")");
    EXPECT_EQ(tavosce::shownJson("\"\\u001b\x7f\""), R"("\u001b\x7f")");
    EXPECT_EQ(tavosce::escapedJson("\"\\u0001\u00e9\u0085\u202e\x7f\""), "\"\\u0001\u00e9\\u0085\\u202e\\u007f\"");
    const std::string cut = std::string(99, 'x') + "\xc3\xa4";
    EXPECT_EQ(tavosce::shownJsonStart(std::string(999, 'x') + "\xc3\xa4"), std::string(999, 'x') + "...");
    EXPECT_EQ(tavosce::shownJsonStart(std::string(998, '{') + "\xc3\xa4"), std::string(998, '{') + "\xc3\xa4");
    EXPECT_EQ(tavosce::suggestion("y", {cut, "z"}, "has"), "has \"" + cut.substr(0, 99) + "\"... and \"z\"");
    EXPECT_EQ(tavosce::stemOf("/x.y/.a.b.VTP"), ".a.b");
    EXPECT_EQ(tavosce::stemOf("x/.hidden"), ".hidden");
    EXPECT_EQ(tavosce::extensionOf("x.y/A.VTP"), ".vtp");
    EXPECT_EQ(tavosce::extensionOf("x.y/a"), "");
}

TEST(JsonTest, stringsThatAreNoUtf8AreBase64)
{
    Properties record, inner;
    record.set("a\n", "\x01\"");
    record.set("big", std::int64_t{-9007199254740993});
    inner.set("\xff", 1);
    record.set("inner", inner);
    std::ostringstream out;
    tavosce::Json json(out);
    for (const auto& [key, text] :
         {std::pair("one", "\xff"), {"two", "\xff\xfe"}, {"three", "\xff\xfe\xfd"}, {"text", "\xc3\xa9"}})
    {
        json.member(key, text);
    }
    json.member("record", record);
    json.finish();
    EXPECT_EQ(at(parsed(out.str()), ""),
              R"({"schema":1,"one":{"base64":"/w=="},"two":{"base64":"//4="},"three":{"base64":"//79"},)"
              "\"text\":\"\xc3\xa9\","
              R"("record":{"a\n":"\u0001\"","big":-9007199254740993,"inner":{"base64":"eyL/IjoxfQ=="}}})");
}

TEST(DatasetComparisonTest, everyDifferenceOfGeometryCounts)
{
    using Change = std::function<void(vtkPolyData&)>;
    const Change changes[] = {
        [](auto& polys) { polys.GetPoints()->SetPoint(4, 0, 0, 0); },
        [](auto& polys) { polys.GetPoints()->InsertNextPoint(0, 0, 0); },
        [](auto& polys) { polys.SetPoints(vtkNew<vtkPoints>()); },
        [](auto& polys) { polys.SetPoints(nullptr); },
        [](auto& polys) { polys.SetVerts(cellsOf({{3}})); },
        [](auto& polys) {
            polys.SetLines(cellsOf({{0, 1, 2}, {0, 1}}));
        },
        [](auto& polys) {
            polys.SetPolys(cellsOf({{0, 1, 2}}));
        },
        [](auto& polys) { polys.SetStrips(nullptr); },
    };
    const auto left = allCellKinds(), same = allCellKinds();
    same->GetLines()->ConvertTo32BitStorage();
    same->GetPointData()->AddArray(counting(VTK_INT, "a", 5, 1));
    EXPECT_TRUE(tavosce::sameGeometry(*left, *same));
    for (std::size_t i = 0; i < std::size(changes); ++i)
    {
        const auto right = allCellKinds();
        changes[i](*right);
        EXPECT_FALSE(tavosce::sameGeometry(*left, *right)) << i;
        EXPECT_TRUE(tavosce::sameGeometry(*right, *right)) << i;
    }
}

TEST(DatasetComparisonTest, everyDifferenceOfArraysCounts)
{
    const auto colored = counting(VTK_FLOAT, "a", 6, 2);
    colored->SetLookupTable(tableOf({{0, 0, 0, 0}}));
    const auto named = counting(VTK_FLOAT, "a", 6, 2), alike = counting(VTK_FLOAT, "a", 6, 2);
    named->SetComponentName(1, "x");
    alike->SetComponentName(1, "y");
    const std::tuple<vtkSmartPointer<vtkDataArray>, vtkSmartPointer<vtkDataArray>, bool> cases[] = {
        {counting(VTK_FLOAT, "a", 6, 2), counting(VTK_FLOAT, "a", 6, 2), true},
        {counting(VTK_FLOAT, "a", 6, 2), counting(VTK_FLOAT, "b", 6, 2), false},
        {counting(VTK_FLOAT, "a", 6, 2), counting(VTK_FLOAT, "a", 4, 3), false},
        {counting(VTK_FLOAT, "a", 6, 2), counting(VTK_INT, "a", 6, 2), false},
        {counting(VTK_FLOAT, "a", 6, 2), colored, false},
        {counting(VTK_FLOAT, "a", 6, 2), named, false},
        {named, named, true},
        {named, alike, false},
        {floats("a", {1, 2, 3}), floats("a", {1, 2, 4}), false},
        {counting(VTK_BIT, "a", 9, 1), counting(VTK_BIT, "a", 9, 1), true},
        {counting(VTK_BIT, "a", 9, 1), arrayOf(VTK_BIT, "a", 1, {1, 0, 0, 1, 0, 0, 1, 0, 1}), false},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i)
    {
        const auto& [left, right, same] = cases[i];
        EXPECT_EQ(tavosce::sameArray(*left, *right), same) << i;
    }
}

TEST(LibraryLogTest, wordsOfAWriteAreNotesUnlessTheToolSaysThem)
{
    std::ostringstream messages;
    tavosce::Report report(messages, false);
    const auto write = [](bool fails)
    {
        vtkGenericWarningMacro("Error writing VTK's words");
        std::cerr << "Failed to write binary data: {}\nother\x1b words";
        if (fails)
        {
            throw tavosce::cannotWrite("f", "full");
        }
    };
    const std::string other = "tavosce: f: note: other\\x1b words\n";
    EXPECT_THROW(tavosce::writeHeedingWords([&] { write(true); }, "f", report), tavosce::Failure);
    EXPECT_EQ(messages.str(), other);
    messages.str("");
    tavosce::writeHeedingWords([&] { write(false); }, "f", report);
    EXPECT_EQ(messages.str(), "tavosce: f: note: Error writing VTK's words\n"
                              "tavosce: f: note: Failed to write binary data: {}\n" +
                                  other);
}

TEST(ProgressBarTest, onlyPatientTerminalsSeeIt)
{
    using namespace std::chrono_literals;
    std::chrono::steady_clock::time_point now;
    std::ostringstream terminal, file;
    {
        tavosce::ProgressBar seen(terminal, true, [&] { return now; }), unseen(file, false, [&] { return now; });
        seen.show("Importing", 1, 4);
        EXPECT_EQ(terminal.str(), "");
        now += 500ms;
        seen.show("Importing", 2, 4);
        unseen.show("Importing", 2, 4);
        EXPECT_THAT(terminal.str(), HasSubstr("Importing [####################                    ] 50%"));
        seen.show("Importing", 3, 4);
        EXPECT_THAT(terminal.str(), Not(HasSubstr("75%"))) << "too soon";
    }
    EXPECT_THAT(terminal.str(), EndsWith("\r\033[K"));
    EXPECT_EQ(file.str(), "");
}

} // namespace
