#pragma once

namespace console {

/// What a command line may choose: the server and all that the process does, or, on a line of a
/// script or a shell, only what the line itself does.
enum class LineKind { Process, Script, Shell };

}  // namespace console
