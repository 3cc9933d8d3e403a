// SPDX-License-Identifier: Apache-2.0
#include "console/shell/LineEditor.h"

#include <cerrno>
#include <cwchar>
#include <fcntl.h>
#include <new>
#include <poll.h>
#include <unistd.h>
#include <utility>

#include "console/ExitCode.h"
#include "console/following/LiveView.h"
#include "console/interrupt.h"
#include "console/text/TextTable.h"
#include "console/text/cleanText.h"
#include "util/AtEnd.h"

namespace console {

namespace {

constexpr std::size_t promptWidth = 11;

/// The first argument of what the library calls is the editor itself.
LineEditor& editorOf(EditLine* edit) {
    void* data = nullptr;
    el_get(edit, EL_CLIENTDATA, &data);
    return *static_cast<LineEditor*>(data);
}

char* prompt(EditLine* /*edit*/) {
    static char text[] = "paconsole> ";
    return text;
}

/// The calling thread's texts are UTF-8 while the result lives.
pautil::AtEnd utf8Here(locale_t utf8) {
    const locale_t before = uselocale(utf8);
    return pautil::AtEnd([before] { uselocale(before); });
}

/// The keyboard once more, for reading without waiting: Ctrl-C takes back the keys before it, also
/// those that have been seen to be there. The terminal's own descriptor is shared with others.
int openKeys(FILE* terminal) {
    const std::string path = "/proc/self/fd/" + std::to_string(fileno(terminal));
    return open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

}  // namespace

LineEditor::LineEditor(FILE* in, FILE* out, Output& diagnostics, HistoryFile& history,
                       Helpers helpers)
    : keys_(openKeys(in)),
      out_(out),
      diagnostics_(diagnostics),
      historyFile_(history),
      helpers_(std::move(helpers)),
      locale_(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)),
      history_(history_init()) {
    require(keys_.isOpen(), "the terminal cannot be read");
    const auto utf8 = utf8Here(locale_.get());
    edit_.reset(el_init("paconsole", in, out, stderr));
    if (edit_ == nullptr || history_ == nullptr) {
        throw std::bad_alloc();
    }
    EditLine* const edit = edit_.get();
    HistEvent event;
    ::history(history_.get(), &event, H_SETSIZE, static_cast<int>(HistoryFile::mostLines));
    ::history(history_.get(), &event, H_SETUNIQUE, 1);
    el_set(edit, EL_CLIENTDATA, this);
    el_set(edit, EL_PROMPT, prompt);
    el_set(edit, EL_EDITOR, "emacs");
    el_set(edit, EL_HIST, ::history, history_.get());
    el_set(edit, EL_GETCFN, readKey);
    // The narrow function would never free its copies of the names.
    el_wset(edit, EL_ADDFN, L"complete", L"Complete the word", onTab);
    el_set(edit, EL_BIND, "^I", "complete", nullptr);
    el_set(edit, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    for (const std::string& line : historyFile_.load()) {
        ::history(history_.get(), &event, H_ENTER, line.c_str());
    }
}

bool LineEditor::next(std::string& line) {
    const auto utf8 = utf8Here(locale_.get());
    do {
        isCancelled_ = false;
        columns_ = columns();
        int count = 0;
        const char* const text = typedLine(count);
        if (interrupt::isEnding()) {
            interrupt::check();
        }
        if (text == nullptr || count <= 0) {
            std::fputs("\n", out_);
            std::fflush(out_);
            return false;
        }
        line.assign(text, static_cast<std::size_t>(count));
    } while (isCancelled_);
    line.erase(line.find_last_not_of("\r\n") + 1);
    remember(line);
    return true;
}

/// What is typed, with its end. Diagnostics are held meanwhile.
const char* LineEditor::typedLine(int& count) {
    diagnostics_.hold();
    const pautil::AtEnd released([this] { diagnostics_.release(); });
    el_set(edit_.get(), EL_PREP_TERM, 1);  // before the prompt invites keys
    return el_gets(edit_.get(), &count);
}

void LineEditor::remember(const std::string& line) {
    if (line.find_first_not_of(" \t") != std::string::npos) {
        HistEvent event;
        ::history(history_.get(), &event, H_ENTER, line.c_str());
        historyFile_.add(line);
    }
}

// --------------------------------------------------------------------------------------- keyboard

/// The next character, or 0 characters at the end of the input. A line that is cancelled ends like
/// any other, so that the cursor moves below all of it.
int LineEditor::readKey(EditLine* edit, wchar_t* key) {
    LineEditor& self = editorOf(edit);
    std::mbstate_t state = {};
    while (self.waitForInput()) {
        char byte = '\0';
        const ssize_t count = read(self.keys_.number(), &byte, 1);
        if (count < 0 && (errno == EINTR || errno == EAGAIN)) {
            continue;
        }
        if (count != 1) {
            return 0;
        }
        const std::size_t result = std::mbrtowc(key, &byte, 1, &state);
        if (result == static_cast<std::size_t>(-1)) {
            *key = L'\uFFFD';  // no UTF-8
        }
        if (result != static_cast<std::size_t>(-2)) {
            return 1;
        }
    }
    *key = L'\n';
    return 1;
}

/// @return false when the line is cancelled
bool LineEditor::waitForInput() {
    constexpr int tickMS = 50;
    pollfd waiting = {keys_.number(), POLLIN, 0};
    while (!isCancelled_) {
        const int ready = poll(&waiting, 1, tickMS);
        isCancelled_ = interrupt::rearm() || interrupt::isEnding();
        if (isCancelled_) {
            break;
        }
        if (helpers_.onTick) {
            helpers_.onTick();
        }
        const std::string lines = diagnostics_.takeHeld();
        if (!lines.empty()) {
            showAbove(lines);
        }
        if (columns() != columns_) {
            columns_ = columns();
            el_resize(edit_.get());
        }
        if (ready > 0) {
            return true;
        }
    }
    return false;
}

// ------------------------------------------------------------------------------------- completion

unsigned char LineEditor::onTab(EditLine* edit, int /*key*/) {
    return editorOf(edit).completeWord();
}

unsigned char LineEditor::completeWord() {
    const LineInfo* const info = el_line(edit_.get());
    const std::string line(info->buffer, info->cursor);
    const Completion completion = helpers_.complete(line);
    if (completion.choices.empty()) {
        return CC_REFRESH_BEEP;
    }
    const std::string typed = line.substr(completion.begin);
    if (completion.word != typed) {
        el_deletestr(edit_.get(), static_cast<int>(pautil::countCharacters(typed)));
        el_insertstr(edit_.get(), completion.word.c_str());
        return CC_REFRESH;
    }
    showAbove(choiceTable(completion.choices, columns()));
    return CC_NORM;
}

// ---------------------------------------------------------------------------------------- drawing

void LineEditor::showAbove(const std::string& lines) {
    const std::size_t rows = rowsAboveCursor();
    const std::string up = rows == 0 ? "" : "\x1b[" + std::to_string(rows) + 'A';
    const std::string text = '\r' + up + "\x1b[J" + lines;
    std::fputs(text.c_str(), out_);
    std::fflush(out_);
    el_set(edit_.get(), EL_REFRESH);
}

std::size_t LineEditor::rowsAboveCursor() const {
    const LineInfo* const info = el_line(edit_.get());
    std::string drawn;
    for (const char* c = info->buffer; c != info->cursor; ++c) {
        const bool isControl = hasControlCharacter(std::string_view(c, 1));
        drawn += isControl ? "^A" : std::string(1, *c);  // whichever it is, it takes two columns
    }
    return (promptWidth + displayWidth(drawn)) / columns();
}

std::size_t LineEditor::columns() const {
    return sizeOfTerminal(fileno(out_)).columns;
}

}  // namespace console
