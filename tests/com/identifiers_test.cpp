#include <gtest/gtest.h>

#include "com/owners.h"

namespace Korvex::Testing {
namespace {

constexpr GUID kGuid = {0x0A1B2C3D, 0x4E5F, 0x6071, {0x82, 0x93, 0xA4, 0xB5, 0xC6, 0xD7, 0xE8, 0xF9}};
const OLECHAR* const kText = OLESTR("{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9}");

TEST(Identifiers, HaveATextInBracesWithUpperCaseDigits) {
    LPOLESTR raw = nullptr;
    ASSERT_EQ(StringFromCLSID(kGuid, &raw), S_OK);
    const Com::TaskString text(raw);
    EXPECT_EQ(toUtf8(text.get()), toUtf8(kText));

    ASSERT_EQ(StringFromIID(kGuid, &raw), S_OK);
    EXPECT_EQ(toUtf8(Com::TaskString(raw).get()), toUtf8(kText));

    OLECHAR buffer[39] = {};
    EXPECT_EQ(StringFromGUID2(kGuid, buffer, 39), 39);
    EXPECT_EQ(toUtf8(buffer), toUtf8(kText));
    EXPECT_EQ(StringFromGUID2(kGuid, buffer, 38), 0);
}

TEST(Identifiers, AreReadFromTextInAnyCase) {
    CLSID clsid = {};
    EXPECT_EQ(CLSIDFromString(kText, &clsid), S_OK);
    EXPECT_TRUE(IsEqualGUID(clsid, kGuid));
    EXPECT_EQ(CLSIDFromString(OLESTR("{0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9}"), &clsid), S_OK);
    EXPECT_TRUE(IsEqualGUID(clsid, kGuid));
    IID iid = {};
    EXPECT_EQ(IIDFromString(kText, &iid), S_OK);
    EXPECT_TRUE(IsEqualGUID(iid, kGuid));
}

TEST(Identifiers, NoTextIsTheNullIdentifier) {
    CLSID clsid = kGuid;
    EXPECT_EQ(CLSIDFromString(nullptr, &clsid), S_OK);
    EXPECT_TRUE(IsEqualGUID(clsid, GUID_NULL));
}

TEST(Identifiers, AMalformedTextIsRefused) {
    for (const OLECHAR* text :
         {OLESTR("{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F}"), OLESTR("{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9"),
          OLESTR("{0A1B2C3D+4E5F-6071-8293-A4B5C6D7E8F9}"), OLESTR("{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8FG}"),
          OLESTR("{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9}0"), OLESTR("{"), OLESTR("")}) {
        CLSID clsid = {};
        EXPECT_EQ(CLSIDFromString(text, &clsid), CO_E_CLASSSTRING) << toUtf8(text);
        const HRESULT expected = OpxStringView(text).size() == 38 ? CO_E_IIDSTRING : E_INVALIDARG;
        EXPECT_EQ(IIDFromString(text, &clsid), expected) << toUtf8(text);
    }
}

TEST(Identifiers, OfServersThatAreNotRegisteredAreUnknown) {
    CLSID clsid = kGuid;
    EXPECT_EQ(CLSIDFromProgID(OLESTR("Korvex.No.Such.Server"), &clsid), CO_E_CLASSSTRING);
    LPOLESTR progId = nullptr;
    EXPECT_EQ(ProgIDFromCLSID(kGuid, &progId), REGDB_E_CLASSNOTREG);
}

TEST(Identifiers, NewOnesDiffer) {
    GUID a = {};
    GUID b = {};
    EXPECT_EQ(CoCreateGuid(&a), S_OK);
    EXPECT_EQ(CoCreateGuid(&b), S_OK);
    EXPECT_FALSE(IsEqualGUID(a, b));
}

}  // namespace
}  // namespace Korvex::Testing
