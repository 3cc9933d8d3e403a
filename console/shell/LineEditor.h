// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <functional>
#include <histedit.h>
#include <locale.h>
#include <memory>
#include <string>

#include "console/Output.h"
#include "console/arguments/completion.h"
#include "console/shell/HistoryFile.h"
#include "util/Descriptor.h"

namespace console {

/// Lines that are typed on a terminal, with editing, history and completion. Texts are UTF-8,
/// whatever the process's locale is. Between two lines the terminal is as it was.
///
/// Diagnostics that come while a line is typed are written above it at once, and the line is drawn
/// again below.
class LineEditor {
public:
    struct Helpers {
        std::function<Completion(const std::string& line)> complete;
        std::function<void()> onTick;  ///< called often while a line is typed
    };

    /// @param in, out     the terminal
    /// @param diagnostics of the terminal, held while a line is typed
    LineEditor(FILE* in, FILE* out, Output& diagnostics, HistoryFile& history, Helpers helpers);

    /// The next line, without its end. Ctrl-C clears the line, Ctrl-D on an empty one is the end.
    /// @return false at the end
    /// @throws Failure when the process is asked to end
    bool next(std::string& line);

private:
    static int readKey(EditLine* edit, wchar_t* key);
    static unsigned char onTab(EditLine* edit, int key);
    const char* typedLine(int& count);
    bool waitForInput();
    unsigned char completeWord();
    void showAbove(const std::string& lines);
    std::size_t rowsAboveCursor() const;
    std::size_t columns() const;
    void remember(const std::string& line);

    template <class Handle, auto end>
    struct End {
        void operator()(Handle* handle) const { end(handle); }
    };
    /// The handle of a library, ended by its function.
    template <class Handle, auto end>
    using Owned = std::unique_ptr<Handle, End<Handle, end>>;

    const pautil::Descriptor keys_;
    FILE* const out_;
    Output& diagnostics_;
    HistoryFile& historyFile_;
    const Helpers helpers_;
    const Owned<std::remove_pointer_t<locale_t>, freelocale> locale_;
    const Owned<History, history_end> history_;
    Owned<EditLine, el_end> edit_;
    std::size_t columns_ = 0;   // of the terminal, when the line was last drawn
    bool isCancelled_ = false;  // the line that is being typed
};

}  // namespace console
