// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "simserver/audio/Preview.h"
#include "simserver/protocol/FieldReader.h"
#include "simserver/protocol/Request.h"

namespace simserver {

/// Decodes the payload of operation 92/17: id,mode,level[,part][,part]
///
/// A part is type,origin,zones,content,gain,chimes - or, in the reduced form, has an empty chime
/// field and ",startCondition,stopCondition,0,0,0,0" after it.
/// @param request receives the request; of a refused payload, what precedes the fault
/// @throws Refused naming the field and the fault
void decodePlay(std::string_view payload, RequestToPlay& request);

/// Decodes the payload of operation 92/18: id or "",type
/// @throws Refused naming the field and the fault
CancelRequest decodeCancel(std::string_view payload);

/// Decodes the payload of operation 108/3: id,language,voice,rate,text - of which only the text is
/// encoded.
/// @param request receives the request; of a refused payload, what precedes the fault
/// @throws Refused naming the field and the fault
void decodeRetrieval(std::string_view payload, RetrievalRequest& request);

/// Decodes a display template from a field without its level of encoding. Its values are JSON
/// strings in which only double quotes and backslashes are escaped; an empty text is an empty
/// template.
/// @throws Refused when it is not the JSON of a display template
TemplateContent decodeTemplate(const NamedField& field);

}  // namespace simserver
