// Blocks: read into any destination, and written and read again. The first two bytes of an input tell how many bytes
// the destination has.

#include "FuzzTarget.h"
#include "MemoryWatch.h"

#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/Blocks.h"

namespace
{

constexpr char UNTOUCHED = '\x5a';

void checkReading(const std::string& block, std::size_t capacity)
{
    const fuzz::MemoryWatch watch(block.size() + capacity);
    std::istringstream in(block);
    std::string first(capacity, UNTOUCHED);
    const sdb::detail::BlockResult answer = sdb::detail::readBlock(in, first.data(), capacity);
    std::istringstream again(block);
    std::string second(capacity, static_cast<char>(~UNTOUCHED));
    fuzz::require(sdb::detail::readBlock(again, second.data(), capacity) == answer && first == second,
                  "no byte of a destination is left as it was");
}

void checkWriting(const std::string& content, tsg::CompressionMethods method)
{
    std::ostringstream out;
    fuzz::require(sdb::writeCompressed(out, content.data(), content.size(), method), "everything can be written");
    std::string read(content.size(), UNTOUCHED);
    std::istringstream in(out.str());
    fuzz::require(sdb::readCompressed(in, read.data(), read.size()) && read == content, "what was written is read");
    fuzz::require(content.empty() || static_cast<std::size_t>(in.tellg()) == out.str().size(), "a block is read whole");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::beQuiet();
    if (size < 2)
    {
        return 0;
    }
    const std::string bytes = fuzz::asString(data + 2, size - 2);
    checkReading(bytes, data[0] + std::size_t{256} * data[1]);
    checkWriting(bytes, tsg::CompressionMethods::None);
    checkWriting(bytes, tsg::CompressionMethods::Zlib);
    return 0;
}
