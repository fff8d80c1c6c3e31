#include "scenegraph/io/SDB.h"

#include "scenegraph/io/detail/BlockWalk.h"
#include "support/ContainerBytes.h"
#include "support/Golden.h"
#include "support/IndexEvents.h"
#include "support/LogCapture.h"
#include "support/RaisedError.h"

namespace
{

using namespace test;

const auto NO_TAG = [](const Properties&) {};
const auto NO_BLOCK = [](unsigned, const Properties&) {};

TEST(IndexTest, itemsAreReportedInFileOrderAndBlocksBeforeTheirRecord)
{
    const std::string file = ContainerBytes()
                                 .record("a", {{"T", "{payload\n"}, {"U", ""}})
                                 .raw("\r\n gap } ")
                                 .thumbnail(0)
                                 .record("b", {{"V", "x"}})
                                 .record("none")
                                 .str();
    EXPECT_THAT(indexEvents(file),
                ElementsAre("block T", "block U", "record a", "thumbnail 0", "block V", "record b", "record none"));
    EXPECT_THAT(indexEvents(ContainerBytes().str()), ElementsAre());
    EXPECT_THAT(indexEvents(""), ElementsAre());
}

TEST(IndexTest, theExampleOfTheFormatPageHasTwoRecordsThatShareABlock)
{
    std::istringstream in(golden("two-records.sce") + "{cut");
    in.seekg(7);
    in.setstate(std::ios::eofbit);
    const LogCapture log;
    EXPECT_THAT(indexEvents(in), ElementsAre("block T", "record t", "block T", "record t", "thumbnail 1"));
    EXPECT_TRUE(in.good());
    EXPECT_EQ(in.tellg(), 7);
}

TEST(IndexTest, behindASharedPayloadTheBlocksOfTheEarlierRecordAreReported)
{
    ContainerBytes file;
    file.record("a", {{"T", "abc"}});
    const auto shared = file.lastPayload;
    file.record("b", {{"U", "def"}, {"T", "", shared}, {"lost", "x"}});
    EXPECT_THAT(indexEvents(file.str()), ElementsAre("block T", "record a", "block U", "block T", "record b"));

    ContainerBytes longer;
    longer.record("a", {{"T", "abc"}, {"U", "def"}, {"V", "ghi"}});
    const std::uint64_t first = longer.str().find("abc");
    longer.record("b", {{"T", "", std::pair(first, 3)}});
    EXPECT_THAT(indexEvents(longer.str()),
                ElementsAre("block T", "block U", "block V", "record a", "block T", "block U", "block V", "record b"));
}

TEST(IndexTest, onlyWhoeverAsksForBlocksGetsAWalkOverThem)
{
    const std::string file = ContainerBytes().record("a", {{"T", "abc"}}).thumbnail(0).str();
    std::istringstream in(file);
    EXPECT_THROW(sdb::indexRecords(in, NO_TAG, nullptr, NO_TAG), std::bad_function_call);
    EXPECT_THROW(sdb::indexRecords(in, nullptr, NO_BLOCK, NO_TAG), std::bad_function_call);
    EXPECT_THROW(sdb::indexRecords(in, NO_TAG, NO_BLOCK, nullptr), std::bad_function_call);
    EXPECT_EQ(sdb::detail::indexRecords(in, NO_TAG, NO_TAG).lastItemEnd, file.size());
}

TEST(IndexTest, eachRecordHasABlockCallbackOfItsOwn)
{
    std::vector<int> counts;
    const auto onBlock = [&counts, count = 0](unsigned, const Properties&) mutable { counts.push_back(++count); };
    std::istringstream in(ContainerBytes().record("a", {{"T", "x"}, {"U", "y"}}).record("b", {{"T", "x"}}).str());
    sdb::indexRecords(in, NO_TAG, onBlock, NO_TAG);
    EXPECT_THAT(counts, ElementsAre(1, 2, 1));
}

TEST(IndexTest, callbacksMayMoveTheStreamAndThrow)
{
    std::istringstream in(ContainerBytes().record("a", {{"T", "abc"}, {"U", "d"}}).thumbnail(0).record("b").str());
    int events = 0;
    const auto onTag = [&](const Properties&)
    {
        ++events;
        in.seekg(0, std::ios::end);
        in.setstate(std::ios::eofbit);
    };
    sdb::indexRecords(
        in, onTag, [&](unsigned, const Properties& tag) { onTag(tag); }, onTag);
    EXPECT_EQ(events, 5);
    const auto fail = [](const Properties&) { throw std::runtime_error("stop"); };
    EXPECT_THROW(sdb::indexRecords(in, fail, NO_BLOCK, NO_TAG), std::runtime_error);
}

TEST(IndexTest, aStrayTagIsAnErrorThatKeepsWhatWasReported)
{
    const std::string before = ContainerBytes().record("a").raw(R"({"DataField":"Node"}{"DataField":7})").str();
    for (const std::string stray : {"{X=1}", R"({"Title":"a"})", "{}"})
    {
        std::istringstream in(ContainerBytes(before).raw(stray).record("b").str());
        EXPECT_THAT(indexEvents(in), ElementsAre("record a", "InternalError"));
        EXPECT_EQ(in.tellg(), static_cast<std::streamoff>(before.size() + stray.size()));
        EXPECT_EQ(walk(in.str()).position, before.size());
    }
    std::istringstream in("{}");
    EXPECT_EQ(raisedBy([&] { sdb::indexRecords(in, NO_TAG, NO_BLOCK, NO_TAG); }),
              "Expect to have only Headers here|foundHeader|SDB|334");
}

TEST(IndexTest, theBlockWalkEndsWithItsBudget)
{
    const std::string longName(1000, 'n');
    const std::string file = ContainerBytes().record("a", {{"T", ""}, {longName, ""}, {"U", ""}, {"V", ""}}).str();
    std::istringstream in(file);
    Properties header;
    sdb::detail::indexRecords(
        in, [&](const Properties& tag) { header = tag; }, NO_TAG);
    const auto blocks = [&](std::uint64_t tags)
    {
        int count = 0;
        sdb::detail::BlockBudget budget(tags);
        sdb::detail::walkBlocks(
            in, header, file.size(), [&](unsigned, const Properties&) { ++count; }, budget);
        return count;
    };
    EXPECT_EQ(blocks(1), 1);
    EXPECT_EQ(blocks(3), 2); // the long tag costs more
    EXPECT_EQ(blocks(100), 4);
}

} // namespace
