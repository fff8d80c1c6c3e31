#pragma once

#include "support/Testing.h"

namespace fuzz
{

/// An input to begin with.
struct Seed
{
    std::string target; ///< name of the fuzz target
    std::string name;
    std::string bytes;
};

/// Small inputs for every target, sound ones and typical damage, made with the builders of the tests.
std::vector<Seed> allSeeds();

} // namespace fuzz
