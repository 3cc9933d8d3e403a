// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <set>
#include <stdexcept>

#include "client/confirmedOperations.h"
#include "client/confirmedParts.h"
#include "client/names.h"
#include "sdk/PAController.h"
#include "sdk/operations.h"

namespace paclient {

namespace {

PaSource now(const PaSource& source) {
    return current(source, gPaController.getPaSources());
}

std::vector<std::string> attachedZones(const PaSource& source) {
    std::vector<std::string> ids;
    gPaController.getAttachedPaZoneList(source.id, &ids);
    return ids;
}

}  // namespace

Confirmation setGain(const PaSource& source, double level, bool first, bool second,
                     const Wait& wait) {
    if (source.type != PaSource::ZENTRIQ_ANALOG_INPUT &&
        source.type != PaSource::ZENTRIQ_IP_PAGING_STATION) {
        throw std::invalid_argument("source " + std::to_string(source.id) +
                                    " has no gain to set: its type is " + nameOf(source.type));
    }
    ConfirmedRequest request;
    request.operations = {pa::operations::setSourceGain};
    request.send = [&] { source.setGain(level, first, second); };
    request.holds = [&] { return sentDigits(now(source).inputGain) == sentDigits(level); };
    return confirmGain(request, first || second, wait);
}

Confirmation attachZones(const PaSource& source, const std::vector<std::string>& zoneIds,
                         PaSource::AttachMode mode, const Wait& wait) {
    const std::set<std::string> wanted(zoneIds.begin(), zoneIds.end());
    ConfirmedRequest request;
    request.operations = {pa::operations::attachZones, pa::operations::detachZones};
    request.send = [&] { source.attachPaZone(zoneIds, mode); };
    request.holds = [&] {
        const auto attached = attachedZones(source);
        return std::includes(attached.begin(), attached.end(), wanted.begin(), wanted.end()) &&
               (mode != PaSource::REPLACE_EXISTING_SET || attached.size() == wanted.size());
    };
    return confirm(request, wait);
}

Confirmation detachZones(const PaSource& source, const std::vector<std::string>& zoneIds,
                         const Wait& wait) {
    ConfirmedRequest request;
    request.operations = {pa::operations::detachZones};
    request.send = [&] { source.detachPaZone(zoneIds); };
    request.holds = [&] {
        const auto attached = attachedZones(source);
        return std::none_of(zoneIds.begin(), zoneIds.end(), [&](const std::string& id) {
            return std::binary_search(attached.begin(), attached.end(), id);
        });
    };
    return confirm(request, wait);
}

Confirmation detachAllZones(const PaSource& source, const Wait& wait) {
    ConfirmedRequest request;
    request.operations = {pa::operations::detachZones};
    request.send = [&] { source.detachAllPaZones(); };
    request.holds = [&] { return attachedZones(source).empty(); };
    return confirm(request, wait);
}

}  // namespace paclient
