#include "core/TavoVersion.h"

#include "support/Testing.h"

namespace
{

TEST(TavoVersionTest, readsSameAndOlderReleases)
{
    const std::string own = TavoVersion::_releaseNumber;
    const std::string next = std::to_string(std::stoi(own) + 1);
    const TavoVersion& version = TavoVersion::getSingleton();
    for (const std::string& release :
         {own, std::string(), std::string("0"), own + ".0.0", "00" + own, std::string("0.99999999999999999999999")})
    {
        EXPECT_TRUE(version.compatibleVersion(release)) << release;
    }
    for (const std::string& release : {own + ".0.1", next, "0" + next + ".0", std::string("99999999999999999999999"),
                                       std::string("."), std::string("0."), std::string("0..1"), std::string("-1"),
                                       std::string("0.1a"), std::string(" 0"), std::string("0\0", 2)})
    {
        EXPECT_FALSE(version.compatibleVersion(release)) << release;
    }
}

} // namespace
