#pragma once

#include "platform/Sweeper.h"

#include <cstdint>
#include <exception>
#include <string>

namespace tavosce
{

/// The user wants to stop: unwinds a verb, so that what it was building goes away.
class Interruption : public std::exception
{
public:
    const char* what() const noexcept override { return "interrupted"; }
};

/// Has the signals that ask for an end remembered, unless they are ignored as under nohup, and says so at once on a
/// terminal. If nobody looks within half a second, as in the middle of a library's reader, the process ends there
/// and then, with nothing half made; see HalfMade and CutBack. That a file reaches the size that the process may write
/// is no reason to end it.
void watchSignals();

/// Remembers, or forgets, that the user wants to stop.
void setInterrupted(bool interrupted);

/// True if the user wants to stop, and still can.
bool isInterrupted();

/// Throws Interruption if so. Called between pieces of work.
void throwIfInterrupted();

/// The last look, before an output takes its name or an addition is final: throws Interruption if the user wants to
/// stop. A signal that comes later is too late.
void stopOrCommit();

/// What is being built under a path that nobody else knows: it goes away with this object, and however the process
/// ends. Several end in the reverse order of their making.
class HalfMade
{
public:
    explicit HalfMade(const std::wstring& path);
    ~HalfMade();
    HalfMade(const HalfMade&) = delete;
    HalfMade& operator=(const HalfMade&) = delete;

    /// Removes what all of them are about. For signal handlers.
    static void sweepAll() noexcept;

private:
    OS::Sweeper _sweeper;
    HalfMade* _before;
};

/// Has a file cut back if the process ends without unwinding while this object lives. One at a time.
class CutBack
{
public:
    /// For a file that this process has locked for writing, which is to have `size` bytes again. If it cannot be opened
    /// as such, the process does not end without unwinding.
    CutBack(const std::wstring& path, std::uint64_t size);
    ~CutBack();
    CutBack(const CutBack&) = delete;
    CutBack& operator=(const CutBack&) = delete;

private:
    int _descriptor;
};

} // namespace tavosce
