#include "scenegraph/io/detail/PendingTag.h"

#include "core/Error.h"
#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/Index.h"
#include "scenegraph/io/detail/Limits.h"
#include "support/Testing.h"

namespace
{

using namespace test;
using sdb::detail::PendingTag;
using sdb::detail::TagStream;

Properties arrayTag()
{
    Properties tag;
    tag.set("FilePos", "later");
    tag.set("Length", "later");
    tag.set("Name", "{T}");
    return tag;
}

TEST(PendingTagTest, positionsAreFilledInWhereZerosWere)
{
    std::ostringstream out;
    out << "before";
    PendingTag tag(TagStream(out), arrayTag());
    const std::string zeros = R"({"FilePos":"0000000000000000","Length":"0000000000000000","Name":"\u007bT\u007d"})";
    EXPECT_EQ(out.str(), "before" + zeros);
    out << "payload";
    const Properties& committed = tag.commit();
    out << "after";
    const std::string final = R"({"FilePos":"0000000000000057","Length":"0000000000000007","Name":"\u007bT\u007d"})";
    EXPECT_EQ(out.str(), "before" + final + "payloadafter");
    EXPECT_EQ(committed.toString(), final);
    EXPECT_EQ(tag.properties(), committed);
}

TEST(PendingTagTest, aFailedStreamKeepsTheZeros)
{
    std::ostringstream out;
    PendingTag tag(TagStream(out), arrayTag());
    const std::string zeros = out.str();
    out.setstate(std::ios::badbit);
    EXPECT_EQ(tag.commit().getString("Length"), "0000000000000000");
    EXPECT_EQ(out.str(), zeros);
}

/// Remembers what has been written whenever it is flushed or moved.
struct Snapshots : std::stringbuf
{
    int sync() override
    {
        states.push_back(str());
        return 0;
    }

    pos_type seekpos(pos_type position, std::ios::openmode which) override
    {
        states.push_back(str());
        return std::stringbuf::seekpos(position, which);
    }

    std::vector<std::string> states;
};

TEST(PendingTagTest, anItemThatIsTornWhileItIsCommittedIsNotFinished)
{
    const std::string pixels(2 * 3000, '{'); // whatever is cut, a brace follows
    Snapshots buffer;
    std::ostream out(&buffer);
    sdb::writeHeader(out);
    Properties tag;
    tag.set("DataField", "Thumbnail");
    tag.set("Width", 1);
    tag.set("Height", 2000);
    PendingTag pending(TagStream(out), tag);
    out << pixels;
    pending.prepare();
    pending.commit();
    const std::string whole = buffer.str();
    for (std::size_t i = 1; i < buffer.states.size(); ++i)
    {
        const std::string &before = buffer.states[i - 1], &after = buffer.states[i];
        for (std::size_t at = 0; before.size() == after.size() && at < after.size(); ++at)
        {
            if (before[at] == after[at])
            {
                continue;
            }
            std::istringstream in(after.substr(0, at + 1) + before.substr(at + 1));
            std::size_t found = 0;
            sdb::detail::walkFile(
                in, [](const Properties&) {}, [&](const Properties&) { ++found; });
            ASSERT_EQ(found, in.str() == whole ? 1U : 0U) << "state " << i << ", byte " << at;
        }
    }
    EXPECT_EQ(sdb::hexFromProp(pending.properties(), "Length"), pixels.size());
}

TEST(PendingTagTest, nothingIsWrittenThatCouldNotBeReadOrWouldOverwriteWhatFollows)
{
    std::ostringstream out;
    out << "{}next";
    Properties longTag;
    longTag.set("Title", std::string(sdb::detail::MAX_TAG_BYTES, 't'));
    EXPECT_THROW(PendingTag(TagStream(out), longTag), InternalError);
    EXPECT_THROW(sdb::detail::rewriteTag(TagStream(out), 0, 2, arrayTag()), InternalError);
    EXPECT_EQ(out.str(), "{}next");
}

} // namespace
