#include "FuzzTarget.h"

#include "scenegraphcommon/Logger.h"
#include "support/TemporaryDirectory.h"

#include <cstdlib>
#include <iostream>

#include <vtkLogger.h>
#include <vtkObject.h>

namespace fuzz
{

namespace
{

/// Takes what is written to it, and keeps nothing.
class Nowhere : public std::streambuf
{
protected:
    int overflow(int byte) override { return traits_type::not_eof(byte); }

    std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

} // namespace

void require(bool holds, const std::string& oracle)
{
    if (!holds)
    {
        (void)std::fprintf(stderr, "does not hold: %s\n", oracle.c_str());
        std::abort();
    }
}

void beQuiet()
{
    static Nowhere& nowhere = *new Nowhere; // the streams are flushed when everything else is gone
    static const bool once = []
    {
        std::cout.rdbuf(&nowhere);
        std::cerr.rdbuf(&nowhere);
        vtkLogger::SetStderrVerbosity(vtkLogger::VERBOSITY_OFF);
        vtkObject::GlobalWarningDisplayOff();
        Logger::getSingleton().setSink([](const std::string&) {});
        return true;
    }();
    (void)once;
}

ScratchFile::ScratchFile()
{
    static const test::TemporaryDirectory directory;
    static int number = 0;
    const test::TemporaryFile file = directory.file("input" + std::to_string(number++) + ".sce");
    _narrow = file.narrow;
    _wide = file.wide;
}

void ScratchFile::write(const std::string& bytes) const
{
    std::filesystem::remove(_narrow); // cheaper than cutting it
    test::writeBytes(_narrow, bytes);
}

std::string ScratchFile::bytes() const
{
    return test::bytesOf(_narrow);
}

} // namespace fuzz
