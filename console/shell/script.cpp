#include "console/shell/script.h"

#include "console/ExitCode.h"
#include "console/arguments/words.h"
#include "console/files/LineFile.h"
#include "console/interrupt.h"

namespace console {

void runScript(const std::filesystem::path& path,
               const std::function<void(const std::vector<std::string>& words)>& runCommand) {
    LineFile file(path.string(), "script");
    std::string line;
    for (int number = 1; file.next(line); ++number) {
        interrupt::check();
        const std::string place = file.name() + ", line " + std::to_string(number) + ": ";
        try {
            const auto words = splitWords(line);
            if (!words.empty()) {
                runCommand(words);
            }
        } catch (const Failure& failure) {
            throw Failure(failure.code, place + failure.what());
        }
    }
}

}  // namespace console
