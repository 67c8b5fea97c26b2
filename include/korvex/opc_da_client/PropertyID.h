// The numbers of the item properties that OPC Data Access defines.
#pragma once

#include <cstdint>

namespace Korvex::OPC::OpcDaClient {

/// PropertyID::VALUE and so on, to be used where a method takes property numbers. Servers may have more,
/// from 5000 on.
struct PropertyID {
    enum : std::int32_t {
        DATATYPE = 1,
        VALUE = 2,
        QUALITY = 3,
        TIMESTAMP = 4,
        ACCESSRIGHTS = 5,
        SCANRATE = 6,
        EUTYPE = 7,
        EUINFO = 8,
        ENGINEERINGUINTS = 100,
        DESCRIPTION = 101,
        HIGHEU = 102,
        LOWEU = 103,
        HIGHIR = 104,
        LOWIR = 105,
        CLOSELABEL = 106,
        OPENLABEL = 107,
        TIMEZONE = 108,
        CONDITION_STATUS = 300,
        ALARM_QUICK_HELP = 301,
        ALARM_AREA_LIST = 302,
        PRIMARY_ALARM_AREA = 303,
        CONDITION_LOGIC = 304,
        LIMIT_EXCEEDED = 305,
        DEADBAND = 306,
        HIHI_LIMIT = 307,
        HI_LIMIT = 308,
        LO_LIMIT = 309,
        LOLO_LIMIT = 310,
        RATE_CHANGE_LIMIT = 311,
        DEVIATION_LIMIT = 312,
        SOUNDFILE = 313,
        TYPE_SYSTEM_ID = 600,
        DICTIONARY_ID = 601,
        TYPE_ID = 602,
        DICTIONARY = 603,
        TYPE_DESCRIPTION = 604,
        CONSISTENCY_WINDOW = 605,
        WRITE_BEHAVIOR = 606,
        UNCONVERTED_ITEM_ID = 607,
        UNFILTERED_ITEM_ID = 608,
        DATA_FILTER_VALUE = 609,
    };
};

}  // namespace Korvex::OPC::OpcDaClient
