#include "bench/sampleRecords.h"

namespace bench {

pa::RecordFields sourceFields(int id, const std::string& label) {
    pa::RecordFields fields(17);
    fields[0] = std::to_string(id);
    fields[1] = "\"Platform 1, north end\"";
    fields[2] = label;
    fields[3] = "10.20.1.11";
    fields[4] = "1";
    fields[6] = "in 3";
    fields[7] = "1";
    fields[11] = "-12.5";
    return fields;
}

pa::RecordFields sinkFields(int id, int state) {
    pa::RecordFields fields(32);
    fields[0] = std::to_string(id);
    fields[1] = "\"Platform 1, north end\"";
    fields[2] = "\"Canopy speakers\"";
    fields[3] = "10.20.1.11";
    fields[4] = "1";
    fields[7] = std::to_string(state);
    fields[26] = "\"Platform 1^Concourse\"";
    return fields;
}

pa::RecordFields triggerFields(int id) {
    pa::RecordFields fields(11);
    fields[0] = std::to_string(id);
    fields[1] = std::to_string(id);
    fields[2] = "Key 1, deputy";
    fields[3] = "3";
    fields[5] = "key 1";
    fields[6] = "550";
    fields[7] = "1";
    fields[9] = "1";
    return fields;
}

pa::RecordFields selectorFields(int id) {
    pa::RecordFields fields(13);
    fields[0] = std::to_string(id);
    fields[1] = std::to_string(id);
    fields[2] = "6";
    fields[4] = "2199";
    fields[5] = "Staff call";
    fields[6] = "1";
    fields[8] = "0";
    fields[10] = "2";
    fields[12] = "1";
    return fields;
}

pa::RecordFields attachedZonesFields() {
    return {R"("\"Platform 1\"^\"Concourse\"")"};
}

pa::RecordFields scheduleFields() {
    pa::RecordFields fields(10);
    fields[0] = "Daily";
    fields[1] = "2026:12:1";
    fields[2] = "6:0";
    fields[3] = "2026:12:31";
    fields[4] = "23:59";
    fields[5] = "127";
    fields[9] = "2,10.0.0.1,Platform 1,12^40!1,,";
    return fields;
}

pa::RecordFields zoneFields(int number) {
    return {
        "\"Platform " + std::to_string(number) + '"', {}, "0", "Idle", "7", "None", "1", "Healthy"};
}

}  // namespace bench
