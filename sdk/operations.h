// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/// @file
/// The operations that a client can ask of the server, each with its class and number:
/// docs/link-protocol.md has what each means to a server. Constants, for any thread.

namespace pa {

/// Identifies an operation.
struct OperationType {
    int classNo = 0;  ///< class, a group of operations
    int number = 0;   ///< number within the class

    constexpr bool operator==(const OperationType& other) const {
        return classNo == other.classNo && number == other.number;
    }
    constexpr bool operator!=(const OperationType& other) const { return !(*this == other); }
};

/// @return class and number, for example "92/17"
inline std::string textOf(const OperationType& type) {
    return std::to_string(type.classNo) + '/' + std::to_string(type.number);
}

namespace operations {

inline constexpr OperationType attachSource{92, 1};       ///< takes a source's lock
inline constexpr OperationType detachSource{92, 2};       ///< releases it
inline constexpr OperationType attachZones{92, 3};        ///< to a source
inline constexpr OperationType detachZones{92, 4};        ///< from a source, some or all
inline constexpr OperationType activateTrigger{92, 5};    ///< of a software trigger
inline constexpr OperationType deactivateTrigger{92, 6};  ///< of a software trigger
inline constexpr OperationType renewLock{92, 7};          ///< of a source
inline constexpr OperationType setSinkGain{92, 8};        ///< output gain, dB
inline constexpr OperationType setSourceGain{92, 9};      ///< input gain, dB
inline constexpr OperationType setMonitoring{92, 10};     ///< of a sink
inline constexpr OperationType playMessage{92, 17};       ///< an announcement
inline constexpr OperationType cancelMessage{92, 18};     ///< by request id or type
inline constexpr OperationType putSchedule{92, 19};       ///< creates or replaces
inline constexpr OperationType deleteSchedule{92, 20};    ///< by its number
inline constexpr OperationType resetSink{92, 29};         ///< restarts its device

inline constexpr OperationType startRecording{78, 5};   ///< into a file of the server
inline constexpr OperationType stopRecording{78, 6};    ///< stores it
inline constexpr OperationType deleteRecording{78, 9};  ///< of a file of the server
inline constexpr OperationType previewRecording{1, 1};  ///< plays it back

inline constexpr OperationType retrieveAudio{108, 3};  ///< renders a spoken message as a preview

}  // namespace operations

}  // namespace pa
