#include "platform/NewFile.h"

#include "platform/FileStreams.h"
#include "platform/FileSystem.h"
#include "support/TemporaryDirectory.h"
#include "support/Unprivileged.h"

#include <cerrno>

#include <sys/stat.h>

namespace
{

using namespace test;
namespace fs = std::filesystem;

class NewFileTest : public testing::Test
{
protected:
    std::vector<std::string> names() const
    {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(directory.path()))
        {
            found.push_back(entry.path().filename().string());
        }
        return found;
    }

    static bool fill(const OS::NewFile& file, const std::string& content)
    {
        const auto out = OS::openForWriting(file.path(), OS::LineEnds::AsWritten);
        *out << content;
        out->close();
        return out->good();
    }

    const TemporaryDirectory directory;
    const TemporaryFile file = directory.file("file");
};

TEST_F(NewFileTest, aFileHasNoNameUntilItIsInstalled)
{
    {
        const OS::NewFile forgotten(file.wide);
        ASSERT_TRUE(forgotten.isOpen() && fill(forgotten, "forgotten"));
        EXPECT_EQ(names().size(), forgotten.temporaryPath().empty() ? 0U : 1U);
    }
    EXPECT_THAT(names(), IsEmpty());
    OS::NewFile first(file.wide), second(file.wide);
    ASSERT_TRUE(fill(first, "first") && fill(second, "second"));
    EXPECT_TRUE(first.synchronise() && first.install() && first.synchroniseName());
    EXPECT_FALSE(second.install()) << "the name is taken";
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(bytesOf(file.narrow), "first");
    EXPECT_TRUE(second.replace());
    EXPECT_EQ(bytesOf(file.narrow), "second");
    EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(NewFileTest, whatIsReplacedKeepsItsPermissionsAndItsReaders)
{
    const mode_t mask = umask(0027);
    OS::NewFile created(file.wide);
    EXPECT_TRUE(fill(created, "old") && created.replace()) << "there is nothing to be replaced";
    umask(mask);
    EXPECT_EQ(fs::status(file.narrow).permissions(), fs::perms(0640));
    fs::permissions(file.narrow, fs::perms(0604));
    std::ifstream reader(file.narrow);
    OS::NewFile other(file.wide);
    EXPECT_TRUE(fill(other, "new") && other.replace());
    EXPECT_EQ(fs::status(file.narrow).permissions(), fs::perms(0604));
    EXPECT_EQ(bytesOf(file.narrow), "new");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), "old");
}

TEST_F(NewFileTest, linksAreFollowedEvenToWhereNothingIs)
{
    fs::create_directory(directory.path() + "/inner");
    fs::create_symlink("inner/target", directory.file("link").narrow);
    fs::create_symlink("link", file.narrow);
    for (const char* const content : {"new", "newer"})
    {
        OS::NewFile made(file.wide);
        EXPECT_TRUE(fill(made, content) && made.replace());
        EXPECT_TRUE(fs::is_symlink(file.narrow));
        EXPECT_EQ(bytesOf(directory.path() + "/inner/target"), content);
    }
}

} // namespace
