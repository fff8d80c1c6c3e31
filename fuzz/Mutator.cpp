// Changes inputs such that more of them get past the first checks: numbers of tags and section headers are exchanged
// for telling ones, what is compressed is changed inside, and afterwards most positions are set right again.

#include "FuzzTarget.h"

#include <cctype>
#include <cstring>
#include <optional>
#include <random>

#include <zlib.h>

/// The fuzzer's own changes.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace
{

using Random = std::minstd_rand;

std::size_t below(Random& random, std::size_t limit)
{
    return limit == 0 ? 0 : random() % limit;
}

bool oneIn(Random& random, std::size_t count)
{
    return below(random, count) == 0;
}

constexpr std::size_t DIGITS = 16;

std::string hex(std::uint64_t value)
{
    char text[DIGITS + 1];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(value));
    return text;
}

/// One of the texts at or behind a random place.
std::size_t findFromAnywhere(const std::string& bytes, const std::string& text, Random& random)
{
    return bytes.find(text, below(random, bytes.size() + 1));
}

void fuzzerChange(std::string& bytes, std::size_t maxSize)
{
    const std::size_t size = bytes.size();
    bytes.resize(std::max(size, maxSize));
    bytes.resize(LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(bytes.data()), size, bytes.size()));
}

// --- Numbers ---------------------------------------------------------------------------------------------------------

const char* const NUMBERS[] = {"-1",
                               "0",
                               "1",
                               "2",
                               "3",
                               "7",
                               "255",
                               "65536",
                               "2147483647",
                               "-2147483648",
                               "4294967296",
                               "1073741824",
                               "9223372036854775807",
                               "99999999999999999999"};

void changeNumber(std::string& bytes, Random& random)
{
    std::size_t begin = below(random, bytes.size() + 1);
    while (begin < bytes.size() && std::isdigit(static_cast<unsigned char>(bytes[begin])) == 0)
    {
        ++begin;
    }
    std::size_t end = begin;
    while (end < bytes.size() && std::isdigit(static_cast<unsigned char>(bytes[end])) != 0)
    {
        ++end;
    }
    bytes.replace(begin, end - begin, NUMBERS[below(random, std::size(NUMBERS))]);
}

void changePosition(std::string& bytes, Random& random)
{
    static const std::string KEYS[] = {"\"FilePos\":\"", "\"Length\":\"", "\"BinaryData\":\""};
    const std::string& key = KEYS[below(random, std::size(KEYS))];
    const std::size_t found = findFromAnywhere(bytes, key, random);
    if (found == std::string::npos || bytes.size() - found < key.size() + DIGITS)
    {
        return;
    }
    const std::uint64_t values[] = {0, below(random, bytes.size()), bytes.size(), std::uint64_t{1} << below(random, 64),
                                    UINT64_MAX - below(random, 64)};
    bytes.replace(found + key.size(), DIGITS, hex(values[below(random, std::size(values))]));
}

// --- Pieces ----------------------------------------------------------------------------------------------------------

/// Copies or moves what stands from one mark to the next to another mark.
void movePiece(std::string& bytes, Random& random, const std::string& mark, std::size_t maxSize)
{
    const std::size_t begin = findFromAnywhere(bytes, mark, random);
    const std::size_t end = begin == std::string::npos ? begin : bytes.find(mark, begin + 1);
    if (end == std::string::npos)
    {
        return;
    }
    const std::string piece = bytes.substr(begin, end - begin);
    if (oneIn(random, 2))
    {
        bytes.erase(begin, piece.size());
    }
    const std::size_t to = findFromAnywhere(bytes, mark, random);
    if (bytes.size() + piece.size() <= maxSize)
    {
        bytes.insert(to == std::string::npos ? bytes.size() : to, piece);
    }
}

// --- Compressed blocks -----------------------------------------------------------------------------------------------

constexpr std::size_t BLOCK_HEADER = 17;

std::uint64_t littleEndian(const std::string& bytes, std::size_t at)
{
    std::uint64_t res = 0;
    for (std::size_t i = 8; i-- > 0;)
    {
        res = res << 8 | static_cast<unsigned char>(bytes[at + i]);
    }
    return res;
}

void putLittleEndian(std::string& bytes, std::size_t at, std::uint64_t value)
{
    for (std::size_t i = 0; i < 8; ++i)
    {
        bytes[at + i] = static_cast<char>(value >> 8 * i);
    }
}

std::optional<std::string> inflated(const std::string& bytes, std::size_t block)
{
    constexpr std::uint64_t MOST = 1 << 16;
    const std::uint64_t size = littleEndian(bytes, block + 1), stored = littleEndian(bytes, block + 9);
    if (size == 0 || size > MOST || stored > bytes.size() - block - BLOCK_HEADER)
    {
        return std::nullopt;
    }
    std::string res(size, '\0');
    uLongf length = size;
    const int answer = uncompress(reinterpret_cast<Bytef*>(res.data()), &length,
                                  reinterpret_cast<const Bytef*>(bytes.data()) + block + BLOCK_HEADER, stored);
    return answer == Z_OK && length == size ? std::make_optional(res) : std::nullopt;
}

/// Changes the content of a compressed block.
void changeInside(std::string& bytes, Random& random)
{
    const std::string zlibBegin = "\x78\x9c";
    std::size_t block = findFromAnywhere(bytes, zlibBegin, random);
    if (block == std::string::npos || block < BLOCK_HEADER || bytes[block - BLOCK_HEADER] != '\1')
    {
        return;
    }
    block -= BLOCK_HEADER;
    std::optional<std::string> content = inflated(bytes, block);
    if (!content)
    {
        return;
    }
    fuzzerChange(*content, content->size() + 16);
    std::string packed(compressBound(content->size()), '\0');
    uLongf length = packed.size();
    compress(reinterpret_cast<Bytef*>(packed.data()), &length, reinterpret_cast<const Bytef*>(content->data()),
             content->size());
    packed.resize(length);
    const std::uint64_t before = littleEndian(bytes, block + 9);
    bytes.replace(block + BLOCK_HEADER, before, packed);
    if (!oneIn(random, 8))
    {
        putLittleEndian(bytes, block + 1, content->size());
    }
    if (!oneIn(random, 8))
    {
        putLittleEndian(bytes, block + 9, packed.size());
    }
}

// --- Positions -------------------------------------------------------------------------------------------------------

const std::string ANY_TAG = "{\"DataField\":\"";
const std::string HEADER = ANY_TAG + "Header\"";
const std::string THUMBNAIL = ANY_TAG + "Thumbnail\"";
const std::string BLOCK = ANY_TAG + "BinaryData\"";

bool isAt(const std::string& bytes, std::size_t at, const std::string& text)
{
    return bytes.compare(at, text.size(), text) == 0;
}

class Repair
{
public:
    Repair(std::string& bytes, Random& random)
        : _bytes(bytes)
        , _random(random)
    {
    }

    void run()
    {
        for (std::size_t tag = _bytes.find(ANY_TAG); tag != std::string::npos; tag = _bytes.find(ANY_TAG, tag + 1))
        {
            const std::size_t end = _bytes.find('}', tag) + 1;
            if (end == 0)
            {
                return;
            }
            if (isAt(_bytes, tag, HEADER))
            {
                const std::size_t blocks = _bytes.find(BLOCK, tag);
                set(tag, end, "FilePos", tag);
                set(tag, end, "Length", nextItem(end) - tag);
                set(tag, end, "BinaryData", std::min(blocks, nextItem(end)));
            }
            else if (isAt(_bytes, tag, BLOCK) || isAt(_bytes, tag, THUMBNAIL))
            {
                repairPayload(tag, end);
            }
        }
    }

private:
    /// The first byte of the next item, or the size.
    std::size_t nextItem(std::size_t from) const
    {
        return std::min({_bytes.find(HEADER, from), _bytes.find(THUMBNAIL, from), _bytes.size()});
    }

    /// A payload behind its tag reaches to the next tag; one before it is shared and stays.
    void repairPayload(std::size_t tag, std::size_t end)
    {
        const std::size_t position = digitsOf(tag, end, "FilePos");
        const bool isShared = position != 0 && std::strtoull(_bytes.c_str() + position, nullptr, 16) < tag;
        if (!isShared || oneIn(_random, 4))
        {
            set(tag, end, "FilePos", end);
            set(tag, end, "Length", std::min(_bytes.find(ANY_TAG, end), _bytes.size()) - end);
        }
    }

    /// Where the digits of a position begin; 0 if there are none.
    std::size_t digitsOf(std::size_t tag, std::size_t end, const std::string& key) const
    {
        const std::size_t found = _bytes.find('"' + key + "\":\"", tag);
        const std::size_t digits = found + key.size() + 4;
        return found < end && digits + DIGITS < end ? digits : 0;
    }

    void set(std::size_t tag, std::size_t end, const std::string& key, std::uint64_t value)
    {
        const std::size_t digits = digitsOf(tag, end, key);
        if (digits != 0 && !oneIn(_random, 16))
        {
            _bytes.replace(digits, DIGITS, hex(value));
        }
    }

    std::string& _bytes;
    Random& _random;
};

void change(std::string& bytes, Random& random, std::size_t maxSize)
{
    switch (below(random, 8))
    {
    case 0:
        return changeNumber(bytes, random);
    case 1:
        return changePosition(bytes, random);
    case 2:
        return movePiece(bytes, random, ANY_TAG, maxSize);
    case 3:
        return movePiece(bytes, random, "\n", maxSize);
    case 4:
        return changeInside(bytes, random);
    default:
        return fuzzerChange(bytes, maxSize);
    }
}

} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed)
{
    Random random(seed);
    std::string bytes = fuzz::asString(data, size);
    for (std::size_t changes = 1 + below(random, 3); changes > 0; --changes)
    {
        change(bytes, random, maxSize);
    }
    if (!oneIn(random, 4))
    {
        Repair(bytes, random).run();
    }
    bytes.resize(std::min(bytes.size(), maxSize));
    std::memcpy(data, bytes.data(), bytes.size());
    return bytes.size();
}
