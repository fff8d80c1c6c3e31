#include "scenegraph/io/detail/PendingTag.h"

#include "core/Error.h"
#include "scenegraph/io/SDB.h"
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
