#include <gmock/gmock.h>

#include "sim/plant/NamePattern.h"
#include "tests/sim/Client.h"
#include "tests/support/rows.h"

namespace Korvex::Simulation {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using AddressSpace = SimulationTest;

TEST(NamePattern, KnowsItsWildcards) {
    for (const auto& row : Testing::rowsOf("sim/patterns.txt", 3))
        EXPECT_EQ(matchesPattern(fromUtf8(row[0]), fromUtf8(row[1])), row[2] == "yes") << row[0] << " " << row[1];
}

// What no client of this library asks for.
TEST_F(AddressSpace, BrowsesByPositionWithFilters) {
    const auto space = server<IOPCBrowseServerAddressSpace>();
    const auto browse = [&](OPCBROWSETYPE type, const OLECHAR* pattern, VARTYPE dataType, DWORD rights) {
        Com::ComPtr<IEnumString> names;
        const HRESULT result = space->BrowseOPCItemIDs(type, pattern, dataType, rights, names.put());
        const auto found = namesOf(names.get());
        EXPECT_EQ(result, found.empty() ? S_FALSE : S_OK);
        return found;
    };
    EXPECT_EQ(space->ChangeBrowsePosition(OPC_BROWSE_UP, nullptr), E_FAIL);
    ASSERT_EQ(space->ChangeBrowsePosition(OPC_BROWSE_TO, OLESTR("Analog.Level")), S_OK);
    ASSERT_EQ(space->ChangeBrowsePosition(OPC_BROWSE_UP, nullptr), S_OK);
    EXPECT_THAT(browse(OPC_LEAF, OLESTR(""), VT_R4, 0), ElementsAre(OLESTR("Temperature")));
    EXPECT_THAT(browse(OPC_LEAF, OLESTR(""), VT_EMPTY, OPC_WRITEABLE),
                ElementsAre(OLESTR("Level"), OLESTR("Temperature")));
    EXPECT_THAT(browse(OPC_FLAT, OLESTR("*.Units"), VT_EMPTY, 0),
                ElementsAre(OLESTR("Analog.Level.Units"), OLESTR("Analog.Temperature.Units")));
    run("organisation flat");
    EXPECT_EQ(space->ChangeBrowsePosition(OPC_BROWSE_TO, OLESTR("")), E_FAIL);
    EXPECT_THAT(browse(OPC_BRANCH, OLESTR(""), VT_EMPTY, 0), IsEmpty());
}

}  // namespace
}  // namespace Korvex::Simulation
