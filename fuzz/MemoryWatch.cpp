#include "MemoryWatch.h"

#include "FuzzTarget.h"

#include "scenegraph/io/detail/Limits.h"

#include <atomic>

#if defined(__SANITIZE_ADDRESS__)
#define TAVO_WATCHES_MEMORY 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TAVO_WATCHES_MEMORY 1
#endif
#endif

#ifdef TAVO_WATCHES_MEMORY
// Of the sanitizers' run time; not every compiler comes with their header.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*onTake)(const volatile void*, std::size_t),
                                                         void (*onGive)(const volatile void*));
extern "C" std::size_t __sanitizer_get_allocated_size(const volatile void* memory);
#endif

namespace fuzz
{

namespace
{

std::atomic<std::int64_t> held{0};
std::atomic<std::int64_t> peak{0};

#ifdef TAVO_WATCHES_MEMORY
void onTake(const volatile void*, std::size_t size)
{
    const std::int64_t now = held += static_cast<std::int64_t>(size);
    if (now > peak)
    {
        peak = now;
    }
}

void onGive(const volatile void* memory)
{
    held -= memory == nullptr ? 0 : static_cast<std::int64_t>(__sanitizer_get_allocated_size(memory));
}

void install()
{
    static const bool once = __sanitizer_install_malloc_and_free_hooks(&onTake, &onGive) != 0;
    (void)once;
}
#else
void install() {}
#endif

/// What every load takes for its own objects, whatever the file says.
constexpr std::uint64_t OWN_OBJECTS = std::uint64_t{1} << 20;

} // namespace

MemoryWatch::MemoryWatch(std::uint64_t inputSize)
    : _promised(sdb::detail::MEMORY_FACTOR * sdb::detail::loadMemory(inputSize) + OWN_OBJECTS)
{
    install();
    held = 0;
    peak = 0;
}

MemoryWatch::~MemoryWatch()
{
    require(static_cast<std::uint64_t>(peak) <= _promised,
            "memory of a load: " + std::to_string(peak) + " of " + std::to_string(_promised) + " bytes");
}

} // namespace fuzz
