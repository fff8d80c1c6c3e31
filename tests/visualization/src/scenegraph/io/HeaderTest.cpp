#include "scenegraph/io/SDB.h"

#include "core/TavoVersion.h"
#include "support/Golden.h"
#include "support/Testing.h"

#include <regex>

namespace
{

using namespace test;

TEST(HeaderTest, headerIsTheOneOfTheFormatPageWithThisRelease)
{
    const std::string example = golden("two-records.sce").substr(0, golden("two-records.sce").find('\n') + 1);
    std::ostringstream out;
    out.width(200);
    sdb::writeHeader(out);
    EXPECT_EQ(out.str(), std::regex_replace(example, std::regex("1\\.0\\.0"), TavoVersion::_releaseNumber));
}

TEST(HeaderTest, aFormatIsAcceptedOrRefusedWithOneLine)
{
    struct FormatCase
    {
        std::string header;
        std::string message;            ///< empty if the file is accepted
        std::string release = "before"; ///< what the output string holds afterwards
    };

    const auto header = [](const std::string& rest)
    { return R"({"UUID":"8bd8aea8-1887-4e74-a129-b7fc46214c8e")" + rest + "}\n"; };
    const std::string wrong = "Wrong file format";
    const FormatCase cases[] = {
        {"", wrong},
        {"some text\n", wrong},
        {"{\n}", wrong},
        {"{X=1}", wrong},
        {header(""), wrong},
        {R"({"FileFormatVersion":0})", wrong},
        {R"({"UUID":"8BD8AEA8-1887-4E74-A129-B7FC46214C8E","FileFormatVersion":0})", wrong},
        {header(R"(,"FileFormatVersion":0,"ReleaseNumber":"0.1")"), "", "0.1"},
        {header(R"(,"FileFormatVersion":-5,"ReleaseNumber":"0.1")"), "", "0.1"},
        {header(R"(,"FileFormatVersion":0,"ProductName":"TavoFlow 0.2")"), "", "0.2"},
        {header(R"(,"FileFormatVersion":0,"ProductName":"TavoFlow ")"), "", ""},
        {header(R"(,"FileFormatVersion":0,"ProductName":"Tavo"})"), "", ""},
        {header(R"(,"FileFormatVersion":1,"ReleaseNumber":"7.5")"),
         "Can't read future file format version. File has been written with 7.5 and has file format version "
         "#1, whereas the application can only understand formats with versions not greater than #0"},
        {header(R"(,"FileFormatVersion":0,"ReleaseNumber":"999.1")"),
         "Can't read scene files saved with a newer version of Corvel TavoFlow. File has been written with "
         "Corvel TavoFlow 999.1, whereas the current version is " +
             TavoVersion::_releaseNumber,
         "999.1"},
    };
    for (const FormatCase& one : cases)
    {
        SCOPED_TRACE(one.header);
        std::istringstream in(one.header), again(one.header);
        std::ostringstream messages, sameMessages;
        std::string release = "before";
        EXPECT_EQ(sdb::checkFormat(in, messages, release), one.message.empty());
        EXPECT_EQ(messages.str(), one.message.empty() ? "" : one.message + "\n");
        EXPECT_EQ(release, one.release);
        EXPECT_EQ(sdb::checkFormat(again, sameMessages), one.message.empty());
        EXPECT_EQ(sameMessages.str(), messages.str());
    }
}

TEST(HeaderTest, aMissingFormatVersionIsTheHighestNumber)
{
    int version = 0;
    EXPECT_FALSE(sdb::fileFormatVersion(Properties(), version));
    EXPECT_EQ(version, std::numeric_limits<int>::max());
}

} // namespace
