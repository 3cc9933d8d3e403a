// SPDX-License-Identifier: Apache-2.0
#include "metrics/OperationCounts.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace pametrics {

namespace {

constexpr std::pair<pa::OperationType, const char*> operationNames[] = {
    {pa::operations::attachSource, "attachSource"},
    {pa::operations::detachSource, "detachSource"},
    {pa::operations::attachZones, "attachZones"},
    {pa::operations::detachZones, "detachZones"},
    {pa::operations::activateTrigger, "activateTrigger"},
    {pa::operations::deactivateTrigger, "deactivateTrigger"},
    {pa::operations::renewLock, "renewLock"},
    {pa::operations::setSinkGain, "setSinkGain"},
    {pa::operations::setSourceGain, "setSourceGain"},
    {pa::operations::setMonitoring, "setMonitoring"},
    {pa::operations::playMessage, "playMessage"},
    {pa::operations::cancelMessage, "cancelMessage"},
    {pa::operations::putSchedule, "putSchedule"},
    {pa::operations::deleteSchedule, "deleteSchedule"},
    {pa::operations::resetSink, "resetSink"},
    {pa::operations::startRecording, "startRecording"},
    {pa::operations::stopRecording, "stopRecording"},
    {pa::operations::deleteRecording, "deleteRecording"},
    {pa::operations::previewRecording, "previewRecording"},
    {pa::operations::retrieveAudio, "retrieveAudio"},
};

}  // namespace

void OperationCounts::add(const pa::OperationType& type) {
    static_assert(std::tuple_size_v<decltype(counts_)> == std::size(operationNames) + 1);
    const auto* const found = std::find_if(std::begin(operationNames), std::end(operationNames),
                                           [&](const auto& entry) { return entry.first == type; });
    ++counts_[static_cast<std::size_t>(found - std::begin(operationNames))];
}

void OperationCounts::addTo(Exposition& to, const char* name, const char* help,
                            const Exposition::Labels& labels) const {
    for (std::size_t i = 0; i < counts_.size(); ++i) {
        const bool isNamed = i < std::size(operationNames);
        Exposition::Labels all = labels;
        all.emplace_back("operation", isNamed ? operationNames[i].second : "other");
        to.counter(name, help, static_cast<double>(counts_[i]), all);
    }
}

}  // namespace pametrics
