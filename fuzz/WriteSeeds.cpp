// Writes the seeds of all fuzz targets into a folder, each target into a folder of its own.

#include "FuzzTarget.h"
#include "Seeds.h"

#include "support/TemporaryDirectory.h"

int main(int count, char** arguments)
{
    if (count != 2)
    {
        (void)std::fprintf(stderr, "usage: %s FOLDER\n", arguments[0]);
        return 2;
    }
    fuzz::beQuiet();
    for (const fuzz::Seed& seed : fuzz::allSeeds())
    {
        const std::string folder = std::string(arguments[1]) + '/' + seed.target;
        std::filesystem::create_directories(folder);
        test::writeBytes(folder + "/seed-" + seed.name, seed.bytes);
    }
    return 0;
}
