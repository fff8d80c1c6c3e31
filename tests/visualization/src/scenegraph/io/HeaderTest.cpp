#include "scenegraph/io/SDB.h"

#include "core/TavoVersion.h"
#include "support/Golden.h"

namespace
{

using namespace test;

/// A release that rises with the version of this project would make files that its last version refuses.
TEST(HeaderTest, headerIsTheOneOfTheFormatPageWhateverTheVersionOfTheProject)
{
    const std::string example = golden("two-records.sce").substr(0, golden("two-records.sce").find('\n') + 1);
    std::ostringstream out;
    out.width(200);
    sdb::writeHeader(out);
    EXPECT_EQ(out.str(), example);
}

TEST(HeaderTest, whatIsNoFormatIsRefusedWithOneLine)
{
    for (const char* const header :
         {"", "some text\n", "{\n}", "{X=1}", R"({"UUID":"8bd8aea8-1887-4e74-a129-b7fc46214c8e"})",
          R"({"FileFormatVersion":0})", R"({"UUID":"8BD8AEA8-1887-4E74-A129-B7FC46214C8E","FileFormatVersion":0})"})
    {
        std::istringstream in(header);
        std::ostringstream messages;
        std::string release = "before";
        EXPECT_FALSE(sdb::checkFormat(in, messages, release)) << header;
        EXPECT_EQ(messages.str(), "Wrong file format\n");
        EXPECT_EQ(release, "before");
    }
    int version = 0;
    EXPECT_FALSE(sdb::fileFormatVersion(Properties(), version));
    EXPECT_EQ(version, std::numeric_limits<int>::max());
}

TEST(HeaderTest, newerFormatsAndReleasesAreRefused)
{
    // the properties behind the UUID, the release that is found in them, and the message if they are refused
    const std::tuple<const char*, const char*, std::string> cases[] = {
        {R"("FileFormatVersion":0,"ReleaseNumber":"0.1")", "0.1", ""},
        {R"("FileFormatVersion":-5,"ReleaseNumber":"0.1")", "0.1", ""},
        {R"("FileFormatVersion":0,"ProductName":"TavoFlow 0.2")", "0.2", ""},
        {R"("FileFormatVersion":0,"ProductName":"TavoFlow ")", "", ""},
        {R"("FileFormatVersion":0,"ProductName":"Tavo")", "", ""},
        {R"("FileFormatVersion":1,"ReleaseNumber":"7.5")", "before",
         "Can't read future file format version. File has been written with 7.5 and has file format version "
         "#1, whereas the application can only understand formats with versions not greater than #0\n"},
        {R"("FileFormatVersion":0,"ReleaseNumber":"999.1")", "999.1",
         "Can't read scene files saved with a newer version of Corvel TavoFlow. File has been written with "
         "Corvel TavoFlow 999.1, whereas the current version is " +
             std::string(TavoVersion::_releaseNumber) + "\n"},
    };
    for (const auto& [properties, found, message] : cases)
    {
        SCOPED_TRACE(properties);
        const std::string header =
            R"({"UUID":"8bd8aea8-1887-4e74-a129-b7fc46214c8e",)" + std::string(properties) + "}\n";
        std::istringstream in(header), again(header);
        std::ostringstream messages, sameMessages;
        std::string release = "before";
        EXPECT_EQ(sdb::checkFormat(in, messages, release), message.empty());
        EXPECT_EQ(messages.str(), message);
        EXPECT_EQ(release, found);
        EXPECT_EQ(sdb::checkFormat(again, sameMessages), message.empty());
        EXPECT_EQ(sameMessages.str(), message);
    }
}

} // namespace
