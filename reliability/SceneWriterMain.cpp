// Adds records to a scene database with the library, and says so after each:
//   scene_writer create|append FILE FIRST COUNT [synchronised]
// Records FIRST to FIRST + COUNT - 1, each with data of its own and some that all share, and with a thumbnail every
// third time. "create" replaces a file that exists. Prints the number of each record that has been acknowledged; when
// "synchronised", once the device has it. Exit code: 0 all are, 1 one is not, 2 wrong usage.

#include "Numbered.h"

#include <cstdio>
#include <string>

#include <unistd.h>

int main(int count, char** arguments)
{
    if (count < 5 || count > 6)
    {
        (void)std::fprintf(stderr, "usage: %s create|append FILE FIRST COUNT [synchronised]\n", arguments[0]);
        return 2;
    }
    const std::string path = arguments[2];
    const int first = std::stoi(arguments[3]), end = first + std::stoi(arguments[4]);
    tsg::SDBWriter writer;
    writer.setSynchronised(count == 6);
    if (writer.open({path.begin(), path.end()}, std::string(arguments[1]) == "append", true) !=
        tsg::io::FileIoStatus::Success)
    {
        return 1;
    }
    reliability::Numbered scene(std::string("from ") + arguments[3]);
    for (int number = first; number < end; ++number)
    {
        if (!scene.addTo(writer, number))
        {
            return 1;
        }
        const std::string line = std::to_string(number) + '\n';
        (void)!write(STDOUT_FILENO, line.data(), line.size()); // which can be watched
    }
    return 0;
}
