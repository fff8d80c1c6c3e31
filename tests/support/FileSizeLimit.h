#pragma once

#include <csignal>
#include <cstddef>

#include <sys/resource.h>

namespace test
{

/// Lets no file of this process grow beyond a size while it lives, as if the disk were full.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(std::size_t size)
        : _handler(signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &_before);
        const rlimit tight{size, _before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &tight);
    }

    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &_before);
        signal(SIGXFSZ, _handler);
    }

    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    void (*_handler)(int);
    rlimit _before{};
};

} // namespace test
