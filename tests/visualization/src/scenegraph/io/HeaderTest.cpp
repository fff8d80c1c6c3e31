#include "scenegraph/io/SDB.h"

#include "core/TavoVersion.h"
#include "support/Golden.h"

#include <limits>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace
{

constexpr const char* UUID = R"("UUID":"8bd8aea8-1887-4e74-a129-b7fc46214c8e")";

TEST(HeaderTest, headerIsTheOneOfTheFormatPageWithThisRelease)
{
    const std::string example = test::golden("two-records.sce");
    std::string expected = example.substr(0, example.find('\n') + 1);
    for (std::size_t at = 0; (at = expected.find("1.0.0", at)) != std::string::npos;)
    {
        expected.replace(at, 5, TavoVersion::_releaseNumber);
        at += TavoVersion::_releaseNumber.size();
    }
    std::ostringstream out;
    out.width(200);
    sdb::writeHeader(out);
    EXPECT_EQ(out.str(), expected);
}

struct FormatCase
{
    std::string header;
    std::string message; ///< empty if the file is accepted
    std::string release; ///< what the output string holds afterwards
};

class CheckFormatTest : public testing::TestWithParam<FormatCase>
{
};

TEST_P(CheckFormatTest, acceptsOrRefusesWithOneLine)
{
    const std::string& message = GetParam().message;
    std::istringstream in(GetParam().header);
    std::ostringstream messages;
    std::string release = "before";
    EXPECT_EQ(sdb::checkFormat(in, messages, release), message.empty());
    EXPECT_EQ(messages.str(), message.empty() ? "" : message + "\n");
    EXPECT_EQ(release, GetParam().release);

    std::istringstream again(GetParam().header);
    std::ostringstream sameMessages;
    EXPECT_EQ(sdb::checkFormat(again, sameMessages), message.empty());
    EXPECT_EQ(sameMessages.str(), messages.str());
}

std::string header(const std::string& rest)
{
    return std::string("{") + UUID + rest + "}\n";
}

const std::string WRONG = "Wrong file format";

INSTANTIATE_TEST_SUITE_P(
    HeaderTest, CheckFormatTest,
    testing::Values(
        FormatCase{"", WRONG, "before"}, FormatCase{"some text\n", WRONG, "before"},
        FormatCase{"{\n}", WRONG, "before"}, FormatCase{"{X=1}", WRONG, "before"},
        FormatCase{header(""), WRONG, "before"}, FormatCase{R"({"FileFormatVersion":0})", WRONG, "before"},
        FormatCase{R"({"UUID":"8BD8AEA8-1887-4E74-A129-B7FC46214C8E","FileFormatVersion":0})", WRONG, "before"},
        FormatCase{header(R"(,"FileFormatVersion":0,"ReleaseNumber":"0.1")"), "", "0.1"},
        FormatCase{header(R"(,"FileFormatVersion":-5,"ReleaseNumber":"0.1")"), "", "0.1"},
        FormatCase{header(R"(,"FileFormatVersion":0,"ProductName":"TavoFlow 0.2")"), "", "0.2"},
        FormatCase{header(R"(,"FileFormatVersion":0,"ProductName":"TavoFlow ")"), "", ""},
        FormatCase{header(R"(,"FileFormatVersion":0,"ProductName":"Tavo"})"), "", ""},
        FormatCase{header(R"(,"FileFormatVersion":1,"ReleaseNumber":"7.5")"),
                   "Can't read future file format version. File has been written with 7.5 and has file format version "
                   "#1, whereas the application can only understand formats with versions not greater than #0",
                   "before"},
        FormatCase{header(R"(,"FileFormatVersion":0,"ReleaseNumber":"999.1")"),
                   "Can't read scene files saved with a newer version of Corvel TavoFlow. File has been written with "
                   "Corvel TavoFlow 999.1, whereas the current version is " +
                       TavoVersion::_releaseNumber,
                   "999.1"}));

TEST(HeaderTest, aMissingFormatVersionIsTheHighestNumber)
{
    int version = 0;
    EXPECT_FALSE(sdb::fileFormatVersion(Properties(), version));
    EXPECT_EQ(version, std::numeric_limits<int>::max());
}

} // namespace
