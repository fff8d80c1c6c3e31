#include "DatasetComparison.h"
#include "Json.h"
#include "ProgressBar.h"
#include "Text.h"

#include "support/VtpFiles.h"

#include <array>
#include <functional>
#include <sstream>

#include <gmock/gmock.h>
#include <rapidjson/document.h>
#include <vtkLookupTable.h>

namespace
{

TEST(TextTest, whatComesFromFilesIsShownEscaped)
{
    const std::pair<std::string, const char*> cases[] = {{"plain \xc3\xa9", "plain \xc3\xa9"},
                                                         {"a\nb\tc\\", "a\\nb\\tc\\\\"},
                                                         {"\x1b[31m\x7f", "\\x1b[31m\\x7f"},
                                                         {"\xc2\x85\xff\xc3", "\\xc2\\x85\\xff\\xc3"},
                                                         {std::string(1, '\0'), "\\x00"}};
    for (const auto& [text, shown] : cases)
    {
        EXPECT_EQ(tavosce::shown(text), shown);
    }
}

TEST(TextTest, fileNamesOfDifferentKeysDiffer)
{
    const std::pair<std::string, const char*> cases[] = {{"Node_1", "Node_1"}, {"a/b", "a%2Fb"},
                                                         {"a%2Fb", "a%252Fb"}, {"100%", "100%"},
                                                         {"50% x", "50% x"},   {std::string("a\0", 2), "a%00"},
                                                         {"\n\xff", "%0A%FF"}, {"\xc3\xa9:*", "\xc3\xa9:*"}};
    for (const auto& [key, name] : cases)
    {
        EXPECT_EQ(tavosce::fileNameOf(key), name);
    }
    EXPECT_EQ(tavosce::stemOf("/x.y/.a.b.VTP"), ".a.b");
    EXPECT_EQ(tavosce::stemOf("x/.hidden"), ".hidden");
    EXPECT_EQ(tavosce::extensionOf("x.y/A.VTP"), ".vtp");
    EXPECT_EQ(tavosce::extensionOf("x.y/a"), "");
}

TEST(JsonTest, stringsThatAreNoUtf8AreBase64)
{
    Properties record;
    record.set("a\n", "\x01\"");
    record.set("big", std::int64_t{-9007199254740993});
    Properties inner;
    inner.set("\xff", 1);
    record.set("inner", inner);
    std::ostringstream out;
    tavosce::Json json(out);
    const std::pair<const char*, std::string> strings[] = {
        {"one", "\xff"}, {"two", "\xff\xfe"}, {"three", "\xff\xfe\xfd"}, {"text", "\xc3\xa9"}};
    for (const auto& [key, text] : strings)
    {
        json.member(key, text);
    }
    json.member("record", record);
    json.finish();
    rapidjson::Document read;
    ASSERT_FALSE(read.Parse(out.str().c_str()).HasParseError()) << out.str();
    EXPECT_STREQ(read["one"]["base64"].GetString(), "/w==");
    EXPECT_STREQ(read["two"]["base64"].GetString(), "//4=");
    EXPECT_STREQ(read["three"]["base64"].GetString(), "//79");
    EXPECT_STREQ(read["text"].GetString(), "\xc3\xa9");
    EXPECT_STREQ(read["record"]["a\n"].GetString(), "\x01\"");
    EXPECT_EQ(read["record"]["big"].GetInt64(), -9007199254740993);
    EXPECT_STREQ(read["record"]["inner"]["base64"].GetString(), "eyL/IjoxfQ==");
}

TEST(DatasetComparisonTest, everyDifferenceCounts)
{
    using Change = std::function<void(vtkPolyData&)>;
    const Change changes[] = {
        [](vtkPolyData& polys) { polys.GetPoints()->SetPoint(4, 0, 0, 0); },
        [](vtkPolyData& polys) { polys.GetPoints()->InsertNextPoint(0, 0, 0); },
        [](vtkPolyData& polys) { polys.GetVerts()->ReplaceCellAtId(0, 1, std::array<vtkIdType, 1>{3}.data()); },
        [](vtkPolyData& polys) {
            polys.GetLines()->InsertNextCell({0, 1});
        },
        [](vtkPolyData& polys) {
            polys.GetPolys()->ReplaceCellAtId(0, 3, std::array<vtkIdType, 3>{0, 1, 2}.data());
        },
        [](vtkPolyData& polys) { polys.SetStrips(nullptr); },
        [](vtkPolyData& polys) { polys.SetPoints(vtkNew<vtkPoints>()); },
        [](vtkPolyData& polys) { polys.SetPoints(nullptr); },
    };
    const auto left = test::allCellKinds();
    const auto same = test::allCellKinds();
    same->GetLines()->ConvertTo32BitStorage();
    same->GetPointData()->AddArray(test::counting(VTK_INT, "a", 5, 1));
    EXPECT_TRUE(tavosce::sameGeometry(*left, *same));
    for (std::size_t i = 0; i < std::size(changes); ++i)
    {
        const auto right = test::allCellKinds();
        changes[i](*right);
        EXPECT_FALSE(tavosce::sameGeometry(*left, *right)) << i;
        EXPECT_TRUE(tavosce::sameGeometry(*right, *right)) << i;
    }

    const auto array = test::counting(VTK_FLOAT, "a", 6, 2);
    const auto changed = [&](const std::function<void(vtkDataArray&)>& change)
    {
        const auto res = test::counting(VTK_FLOAT, "a", 6, 2);
        change(*res);
        return res;
    };
    EXPECT_TRUE(tavosce::sameArray(*array, *changed([](vtkDataArray&) {})));
    EXPECT_FALSE(tavosce::sameArray(*array, *changed([](vtkDataArray& a) { a.SetName("b"); })));
    EXPECT_FALSE(tavosce::sameArray(*array, *changed([](vtkDataArray& a) { a.SetComponent(5, 1, 0); })));
    EXPECT_FALSE(
        tavosce::sameArray(*array, *changed([](vtkDataArray& a) { a.SetLookupTable(vtkNew<vtkLookupTable>()); })));
    EXPECT_FALSE(tavosce::sameArray(*array, *test::counting(VTK_FLOAT, "a", 4, 3)));
    EXPECT_FALSE(tavosce::sameArray(*array, *test::counting(VTK_INT, "a", 6, 2)));
    const auto bits = test::counting(VTK_BIT, "a", 9, 1), otherBits = test::counting(VTK_BIT, "a", 9, 1);
    EXPECT_TRUE(tavosce::sameArray(*bits, *otherBits));
    otherBits->SetTuple1(8, 1);
    EXPECT_FALSE(tavosce::sameArray(*bits, *otherBits));
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
        for (tavosce::ProgressBar* const bar : {&seen, &unseen})
        {
            bar->show("Importing", 2, 4);
        }
        EXPECT_THAT(terminal.str(), testing::HasSubstr("Importing [####################                    ] 50%"));
        seen.show("Importing", 3, 4);
        EXPECT_THAT(terminal.str(), testing::Not(testing::HasSubstr("75%"))) << "too soon";
    }
    EXPECT_THAT(terminal.str(), testing::EndsWith("\r\033[K"));
    EXPECT_EQ(file.str(), "");
}

} // namespace
