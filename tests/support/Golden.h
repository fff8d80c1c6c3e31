#pragma once

#include "support/Testing.h"

namespace test
{

/// The bytes of a file of tests/data; a missing one throws.
inline std::string golden(const std::string& name)
{
    std::ifstream in(std::string(TAVO_GOLDEN_DIR) + "/" + name, std::ios::binary);
    in.exceptions(std::ios::failbit | std::ios::badbit);
    return {std::istreambuf_iterator<char>(in), {}};
}

/// True if bytes are those of a golden file. If not, they are left in the build folder and the first difference is
/// named.
inline testing::AssertionResult isGolden(const std::string& name, const std::string& bytes)
{
    const std::string expected = golden(name);
    if (bytes == expected)
    {
        return testing::AssertionSuccess();
    }
    const std::filesystem::path folder(TAVO_GOLDEN_OUTPUT_DIR);
    std::filesystem::create_directories(folder);
    std::ofstream(folder / name, std::ios::binary) << bytes;
    const auto first = std::mismatch(bytes.begin(), bytes.end(), expected.begin(), expected.end()).first;
    return testing::AssertionFailure() << name << " differs from byte " << first - bytes.begin()
                                       << " on; the new bytes are in " << (folder / name).string();
}

} // namespace test
