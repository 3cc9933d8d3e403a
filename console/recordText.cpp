#include "console/recordText.h"

#include <locale>
#include <sstream>

namespace console {

std::string valueText(const std::string& value) {
    return value;
}

std::string valueText(const std::vector<std::string>& value) {
    std::string text;
    for (const std::string& entry : value) {
        text += (text.empty() ? "" : ", ") + entry;
    }
    return text;
}

std::string valueText(bool value) {
    return value ? "yes" : "no";
}

std::string valueText(double value) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << value;
    return text.str();
}

std::string valueText(const Gain& value) {
    return valueText(value.getLevel());
}

}  // namespace console
