#include "core/TavoVersion.h"

#include <gtest/gtest.h>

namespace
{

TEST(TavoVersionTest, readsSameAndOlderReleases)
{
    const std::string own = TavoVersion::_releaseNumber;
    const std::string major = own.substr(0, own.find('.'));
    const std::string nextMajor = std::to_string(std::stoi(major) + 1);
    const std::pair<std::string, bool> cases[] = {{own, true},
                                                  {"", true},
                                                  {"0", true},
                                                  {"0.99999999999999999999999", true},
                                                  {own + ".0.0", true},
                                                  {"00" + own, true},
                                                  {own + ".0.1", false},
                                                  {nextMajor, false},
                                                  {"0" + nextMajor + ".0", false},
                                                  {"99999999999999999999999", false},
                                                  {".", false},
                                                  {"0.", false},
                                                  {"0..1", false},
                                                  {"-1", false},
                                                  {"0.1a", false},
                                                  {" 0", false},
                                                  {std::string("0\0", 2), false}};
    for (const auto& [release, compatible] : cases)
    {
        EXPECT_EQ(TavoVersion::getSingleton().compatibleVersion(release), compatible) << release;
    }
}

} // namespace
