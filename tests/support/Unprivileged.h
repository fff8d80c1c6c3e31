#pragma once

#include <unistd.h>

namespace test
{

/// Makes the process an ordinary user for as long as this object lives, if it is the superuser, who may do everything.
class Unprivileged
{
public:
    Unprivileged()
        : _wasSuperuser(geteuid() == 0)
        , _isOrdinary(!_wasSuperuser || seteuid(NOBODY) == 0)
    {
    }

    ~Unprivileged()
    {
        if (_wasSuperuser && _isOrdinary)
        {
            (void)!seteuid(0);
        }
    }

    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;

    /// False where the superuser may not become somebody else; a test skips then, and says so.
    explicit operator bool() const { return _isOrdinary; }

private:
    static constexpr uid_t NOBODY = 65534;

    bool _wasSuperuser;
    bool _isOrdinary;
};

} // namespace test
