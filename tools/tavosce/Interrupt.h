#pragma once

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
/// terminal. If nobody looks within most of a second, as in the middle of a library's reader, the process ends there
/// and then, with nothing half made; see HalfMade and CutBack. That a file reaches the size that the process may write
/// is no reason to end it.
void watchSignals();

/// Remembers, or forgets, that the user wants to stop.
void setInterrupted(bool interrupted);

/// Throws Interruption if the user wants to stop. Called between pieces of work.
void throwIfInterrupted();

/// The last look, before an output takes its name or an addition is final: throws Interruption if the user wants to
/// stop. A signal that comes later is too late.
void stopOrCommit();

/// Something that the process must not leave behind, and that only unwinding removes. While one lives, the process is
/// not ended without that.
class HalfMade
{
public:
    HalfMade();
    ~HalfMade();
    HalfMade(const HalfMade&) = delete;
    HalfMade& operator=(const HalfMade&) = delete;
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
