#include "platform/Folder.h"

#include "support/TemporaryDirectory.h"

#include <cerrno>

#include <sys/stat.h>

namespace
{

using namespace test;
namespace fs = std::filesystem;

class FolderTest : public testing::Test
{
protected:
    std::string path(const std::string& name) const { return directory.file(name).narrow; }

    fs::perms permissions(const std::string& name) const { return fs::status(path(name)).permissions(); }

    const TemporaryDirectory directory;
};

TEST_F(FolderTest, aNewOneIsPrivateUntilItIsInstalledAndReplacesNothing)
{
    OS::NewFolder first(directory.file("out").wide), second(directory.file("out").wide);
    ASSERT_TRUE(first.make() && second.make());
    const std::string made = fs::path(first.temporaryPath()).filename();
    EXPECT_EQ(permissions(made), fs::perms::owner_all);
    fs::rename(path(made), path("moved")); // by a neighbour
    fs::create_symlink(directory.path(), path(made));
    EXPECT_TRUE(first.folder().makeInner("inner"));
    EXPECT_TRUE(fs::exists(path("moved/inner"))) << "a descriptor leads there, and no name";
    fs::remove(path(made));
    fs::rename(path("moved"), path(made));
    const mode_t mask = umask(0027);
    EXPECT_TRUE(first.install());
    umask(mask);
    EXPECT_EQ(permissions("out"), fs::perms(0750));
    EXPECT_FALSE(second.install());
    EXPECT_EQ(errno, EEXIST);
    OS::NewFolder nowhere(directory.file("out/none/x").wide);
    EXPECT_FALSE(nowhere.make());
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(FolderTest, nothingInItIsReachedThroughALink)
{
    for (const char* const name : {"a", "b", "elsewhere"})
    {
        fs::create_directory(path(name));
    }
    for (const char* const name : {"a/new", "a/linked", "a/replaced", "b/replaced", "elsewhere/file"})
    {
        writeBytes(path(name), name);
    }
    fs::create_symlink(path("elsewhere"), path("b/inner"));
    fs::create_symlink(path("elsewhere/file"), path("b/linked"));
    fs::create_directory(path("b/folder"));
    fs::permissions(path("b/replaced"), fs::perms(0604));
    const OS::Folder from(directory.file("a").wide), to(directory.file("b").wide);
    ASSERT_TRUE(from.isOpen() && to.isOpen());
    EXPECT_TRUE(to.makeInner("inner")) << "there is something";
    EXPECT_FALSE(to.inner("inner").isOpen());
    EXPECT_EQ(errno, ELOOP);
    EXPECT_TRUE(to.inner("folder").isOpen());
    EXPECT_FALSE(to.inner("replaced").isOpen());
    for (const char* const name : {"new", "linked", "replaced"})
    {
        EXPECT_TRUE(from.moveFile(name, to));
        EXPECT_EQ(bytesOf(path(std::string("b/") + name)), std::string("a/") + name);
    }
    EXPECT_EQ(permissions("b/replaced"), fs::perms(0604));
    EXPECT_EQ(bytesOf(path("elsewhere/file")), "elsewhere/file");
    writeBytes(path("a/folder"), "");
    EXPECT_FALSE(from.moveFile("folder", to));
    EXPECT_EQ(errno, EISDIR);
    EXPECT_TRUE(to.removeFile("new") && !to.removeFile("new"));
}

} // namespace
