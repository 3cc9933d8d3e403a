#pragma once

#include <string>

/// @file
/// The operations that a client can ask of the server, each with its class and number.

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

inline constexpr OperationType attachSource{92, 1};
inline constexpr OperationType detachSource{92, 2};
inline constexpr OperationType attachZones{92, 3};
inline constexpr OperationType detachZones{92, 4};
inline constexpr OperationType activateTrigger{92, 5};    ///< of a software trigger
inline constexpr OperationType deactivateTrigger{92, 6};  ///< of a software trigger
inline constexpr OperationType renewLock{92, 7};
inline constexpr OperationType setSinkGain{92, 8};
inline constexpr OperationType setSourceGain{92, 9};
inline constexpr OperationType setMonitoring{92, 10};
inline constexpr OperationType playMessage{92, 17};
inline constexpr OperationType cancelMessage{92, 18};
inline constexpr OperationType putSchedule{92, 19};  ///< creates or replaces
inline constexpr OperationType deleteSchedule{92, 20};
inline constexpr OperationType resetSink{92, 29};

inline constexpr OperationType startRecording{78, 5};
inline constexpr OperationType stopRecording{78, 6};
inline constexpr OperationType deleteRecording{78, 9};
inline constexpr OperationType previewRecording{1, 1};

inline constexpr OperationType retrieveAudio{108, 3};  ///< renders a spoken message as a preview

}  // namespace operations

}  // namespace pa
