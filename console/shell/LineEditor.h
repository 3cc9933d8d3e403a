#pragma once

#include <cstdio>
#include <functional>
#include <histedit.h>
#include <locale.h>
#include <memory>
#include <string>
#include <vector>

#include "console/Output.h"
#include "console/arguments/completion.h"
#include "console/files/LineFile.h"
#include "console/shell/HistoryFile.h"

namespace console {

/// Lines that are typed on a terminal, with editing, history and completion. Texts are UTF-8,
/// whatever the process's locale is. Between two lines the terminal is as it was.
///
/// Diagnostics that come while a line is typed are written above it at once, and the line is drawn
/// again below.
class LineEditor final : public LineSource {
public:
    struct Helpers {
        std::function<Completion(const std::string& line)> complete;
        std::function<void()> onTick;  ///< called often while a line is typed
    };

    /// @param in, out     the terminal
    /// @param diagnostics held while a line is typed; null when they go elsewhere
    LineEditor(FILE* in, FILE* out, Output* diagnostics, HistoryFile& history, Helpers helpers);
    ~LineEditor() override;

    /// Ctrl-C clears the line, Ctrl-D on an empty one is the end.
    /// @throws Failure when the process is asked to end
    bool next(std::string& line) override;

private:
    static int readKey(EditLine* edit, wchar_t* key);
    static unsigned char onTab(EditLine* edit, int key);
    bool waitForInput();
    unsigned char completeWord();
    void showAbove(const std::string& lines);
    std::size_t rowsAboveCursor() const;
    std::size_t columns() const;
    void remember(const std::string& line);

    struct EditLineEnd {
        void operator()(EditLine* edit) const { el_end(edit); }
    };
    struct HistoryEnd {
        void operator()(History* history) const { history_end(history); }
    };
    struct LocaleEnd {
        void operator()(locale_t locale) const { freelocale(locale); }
    };

    const int keys_;
    FILE* const out_;
    Output* const diagnostics_;
    HistoryFile& historyFile_;
    const Helpers helpers_;
    std::unique_ptr<std::remove_pointer_t<locale_t>, LocaleEnd> locale_;
    std::unique_ptr<History, HistoryEnd> history_;
    std::unique_ptr<EditLine, EditLineEnd> edit_;
    std::size_t columns_ = 0;   // of the terminal, when the line was last drawn
    bool isCancelled_ = false;  // the line that is being typed
};

}  // namespace console
