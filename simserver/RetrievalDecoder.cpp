#include <string>
#include <vector>

#include "simserver/FieldText.h"
#include "simserver/Refused.h"
#include "simserver/RequestDecoder.h"

namespace simserver {

void decodeRetrieval(std::string_view payload, RetrievalRequest& request) {
    const std::vector<std::string_view> fields = pieces(payload, ',');
    request.id = fields[0];
    if (payload.find('\0') != std::string_view::npos) {
        throw Refused("the payload holds a NUL byte");
    }
    if (fields.size() != 5) {
        throw Refused(std::to_string(fields.size()) +
                      " fields; expected id,language,voice,rate,text");
    }
    if (request.id.empty()) {
        throw Refused("no request id");
    }
    request.language = fields[1];
    request.voice = fields[2];
    request.rate = fields[3];
    request.text = within("text", [&] { return unquoted(fields[4]); });
}

}  // namespace simserver
