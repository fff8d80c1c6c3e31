#include "scenegraph/io/SDB.h"

#include "support/ContainerBytes.h"
#include "support/IndexEvents.h"
#include "support/LogCapture.h"

namespace
{

using namespace test;
using sdb::detail::WalkEnd;
using sdb::detail::WalkResult;

Edit without(const std::string& key)
{
    return [=](Properties& tag) { tag.remove(key); };
}

Edit text(const std::string& key, const std::string& value)
{
    return [=](Properties& tag) { tag.set(key, value, Properties::Overwrite); };
}

/// Payload bytes with something that looks like an item but is not in its place.
const std::string LOOKALIKE = R"(x{"DataField":"Header","FilePos":"0","Length":"ffff"})"
                              R"({"DataField":"Thumbnail","FilePos":"0","Length":"ffff"}{"DataField":"Head{")";

TEST(IndexDamageTest, anUnfinishedRecordIsLeftOutWithOneWarningAndHidesNothing)
{
    for (const Edit& edit : {position("Length", 0), position("Length", 20), without("Length"), text("Length", "-1"),
                             position("Length", UINT64_MAX), position("FilePos", INT64_MAX), position("FilePos", 0)})
    {
        const LogCapture log;
        ContainerBytes file;
        const std::uint64_t begin = file.record("a").size();
        file.record("unfinished", {{"T", LOOKALIKE}}, edit);
        SCOPED_TRACE(file.str().substr(begin, file.str().find('}', begin) - begin));
        EXPECT_THAT(indexEvents(file.str()), ElementsAre("record a"));
        EXPECT_THAT(log.entries, ElementsAre(HasSubstr("at byte " + std::to_string(begin) + " was never finished")));
        EXPECT_EQ(walk(file.str()).end, WalkEnd::UnfinishedItem);
        EXPECT_EQ(walk(file.str()).position, begin);

        file.thumbnail(1).record("b", {{"U", ""}});
        EXPECT_THAT(indexEvents(file.str()), ElementsAre("record a", "thumbnail 1", "block U", "record b"));
        const WalkResult result = walk(file.str());
        EXPECT_EQ(result.end, WalkEnd::EndOfFile);
        EXPECT_THAT(result.unfinished, ElementsAre(begin));
    }
}

TEST(IndexDamageTest, aThumbnailThatWasNeverFinishedIsLeftOutToo)
{
    const Edit zeros = [](Properties& tag)
    {
        position("FilePos", 0)(tag);
        position("Length", 0)(tag);
    };
    const std::string file = ContainerBytes().thumbnail(0, zeros).record("a").str();
    EXPECT_THAT(indexEvents(file), ElementsAre("record a"));
    // An empty picture ends with its tag and is whole.
    EXPECT_THAT(indexEvents(ContainerBytes().thumbnail(3, {}, "").record("a").str()),
                ElementsAre("thumbnail 3", "record a"));
}

TEST(IndexDamageTest, aDamagedBlockHidesNoRecord)
{
    for (const Edit& edit : {position("FilePos", UINT64_MAX), text("FilePos", std::string(1, '\xff')),
                             text("DataField", "Binary"), position("Length", INT64_MAX)})
    {
        const std::string file = ContainerBytes().record("a", {{"T", "x", {}, edit}, {"U", "y"}}).record("b").str();
        const IndexEvents events = indexEvents(file);
        EXPECT_EQ(events.back(), "record b");
        EXPECT_EQ(std::count(events.begin(), events.end(), "record a"), 1);
    }
    std::string broken = ContainerBytes().record("a", {{"T", "x"}}).record("b").str();
    broken[broken.find("BinaryData\",\"ObjectKey")] = '\n';
    EXPECT_THAT(indexEvents(broken), ElementsAre("record a", "record b"));
}

TEST(IndexDamageTest, blocksThatPointInACircleAreReportedOnce)
{
    ContainerBytes file;
    file.record("a", {{"T", "x"}, {"U", "y"}});
    const std::uint64_t firstBlock = file.str().find(R"({"DataField":"BinaryData")");
    file.record("b", {{"V", "", std::pair(firstBlock, 0)}, {"lost", "z"}});
    EXPECT_THAT(indexEvents(file.str()),
                ElementsAre("block T", "block U", "record a", "block V", "block T", "block U", "record b"));
    ContainerBytes toItself(file.str());
    toItself.record("c", {{"W", "", std::pair(file.size(), 0)}}, position("BinaryData", 0));
    const std::uint64_t self = toItself.str().rfind(R"({"DataField":"BinaryData")");
    file.record("c", {{"W", "", std::pair(self, 0)}, {"lost", "z"}});
    EXPECT_THAT(indexEvents(file.str()), ElementsAre("block T", "block U", "record a", "block V", "block T", "block U",
                                                     "record b", "block W", "record c"));
}

TEST(IndexDamageTest, walkTellsWhereTheNextItemMayGo)
{
    struct EndCase
    {
        std::string tail;
        WalkEnd end;
        std::uint64_t offset = 0; ///< of the result's position behind the last whole item
    };

    ContainerBytes whole;
    whole.record("a");
    const std::string item = R"({"DataField":"Header","Version":2)";
    const EndCase cases[] = {
        {"", WalkEnd::EndOfFile},
        {"\r\njunk}", WalkEnd::EndOfFile, 7},
        {" {", WalkEnd::UnfinishedItem, 1},
        {item, WalkEnd::UnfinishedItem},
        {item + LOOKALIKE, WalkEnd::UnfinishedItem},
        {"{payload", WalkEnd::Damage},
        {item + "\n", WalkEnd::Damage},
        {R"({"DataField":"Node"}{})", WalkEnd::StrayTag, 20},
    };
    for (const EndCase& c : cases)
    {
        const WalkResult result = walk(whole.str() + c.tail);
        EXPECT_EQ(result.end, c.end) << c.tail;
        EXPECT_EQ(result.position, whole.size() + c.offset) << c.tail;
        EXPECT_EQ(result.lastItemEnd, whole.size()) << c.tail;
    }
    const std::string behindCut = ContainerBytes(whole.str()).raw(item).record("b").str();
    EXPECT_EQ(walk(behindCut).end, WalkEnd::Damage);
    const std::uint64_t begin = whole.size();
    const WalkResult beyond = walk(whole.record("b", {{"T", "xyz"}}).str().substr(0, whole.size() - 1));
    EXPECT_EQ(beyond.end, WalkEnd::BeyondFile);
    EXPECT_EQ(beyond.position, begin);
    EXPECT_EQ(beyond.lastItemEnd, whole.size());
}

/// Adds a record as a writer may: refused, or the file is readable afterwards and what it held before is still there.
void expectRefusedOrReadable(const std::string& bytes)
{
    const WalkResult result = walk(bytes);
    if (result.end != WalkEnd::EndOfFile && result.end != WalkEnd::UnfinishedItem)
    {
        return;
    }
    IndexEvents expected = indexEvents(bytes);
    expected.insert(expected.end(), {"block N", "record next"});
    EXPECT_EQ(indexEvents(ContainerBytes(bytes.substr(0, result.position)).record("next", {{"N", "new"}}).str()),
              expected);
}

std::string smallFile()
{
    ContainerBytes file;
    file.record("a", {{"T", "abc\n"}});
    const auto shared = file.lastPayload;
    return file.thumbnail(0, {}, "}{abcdefghij").record("b", {{"T", "", shared}, {"U", "x{y"}}).str();
}

TEST(IndexDamageTest, everyDamagedByteEndsAndIsRefusedOrLeavesAReadableFile)
{
    const LogCapture log;
    const std::string file = smallFile();
    for (std::size_t n = 0; n < file.size(); ++n)
    {
        for (const char byte : {'0', '9', 'f', '{', '}', '"', '\n', '\xff'})
        {
            std::string damaged = file;
            damaged[n] = byte;
            SCOPED_TRACE("byte " + std::to_string(n) + " set to " + byte);
            expectRefusedOrReadable(damaged);
        }
    }
}

} // namespace
