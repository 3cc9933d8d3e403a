// SPDX-License-Identifier: Apache-2.0
#include "bench/sampleRecords.h"

namespace bench {

pa::RecordFields sourceFields(int id, const std::string& label) {
    pa::RecordFields fields(17);
    fields.set(0, std::to_string(id));
    fields.set(1, "\"Platform 1, north end\"");
    fields.set(2, label);
    fields.set(3, "10.20.1.11");
    fields.set(4, "1");
    fields.set(6, "in 3");
    fields.set(7, "1");
    fields.set(11, "-12.5");
    return fields;
}

pa::RecordFields sinkFields(int id, int state) {
    pa::RecordFields fields(32);
    fields.set(0, std::to_string(id));
    fields.set(1, "\"Platform 1, north end\"");
    fields.set(2, "\"Canopy speakers\"");
    fields.set(3, "10.20.1.11");
    fields.set(4, "1");
    fields.set(7, std::to_string(state));
    fields.set(26, "\"Platform 1^Concourse\"");
    return fields;
}

pa::RecordFields triggerFields(int id) {
    pa::RecordFields fields(11);
    fields.set(0, std::to_string(id));
    fields.set(1, std::to_string(id));
    fields.set(2, "Key 1, deputy");
    fields.set(3, "3");
    fields.set(5, "key 1");
    fields.set(6, "550");
    fields.set(7, "1");
    fields.set(9, "1");
    return fields;
}

pa::RecordFields selectorFields(int id) {
    pa::RecordFields fields(13);
    fields.set(0, std::to_string(id));
    fields.set(1, std::to_string(id));
    fields.set(2, "6");
    fields.set(4, "2199");
    fields.set(5, "Staff call");
    fields.set(6, "1");
    fields.set(8, "0");
    fields.set(10, "2");
    fields.set(12, "1");
    return fields;
}

pa::RecordFields attachedZonesFields() {
    return {R"("\"Platform 1\"^\"Concourse\"")"};
}

pa::RecordFields scheduleFields() {
    pa::RecordFields fields(10);
    fields.set(0, "Daily");
    fields.set(1, "2026:12:1");
    fields.set(2, "6:0");
    fields.set(3, "2026:12:31");
    fields.set(4, "23:59");
    fields.set(5, "127");
    fields.set(9, "2,10.0.0.1,Platform 1,12^40!1,,");
    return fields;
}

pa::RecordFields zoneFields(int number) {
    return {
        "\"Platform " + std::to_string(number) + '"', {}, "0", "Idle", "7", "None", "1", "Healthy"};
}

}  // namespace bench
