// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <iterator>
#include <string_view>
#include <type_traits>
#include <utility>

#include "framework/fieldEncoding.h"
#include "framework/log.h"
#include "include/common/tevlist.h"
#include "sdk/records/numberText.h"

/// @file
/// The layout of a record is a table with one column for each wire position, in wire order:
///
///     constexpr Column<PaZone> columns[] = {translated<&PaZone::id>, skipped, ...};
///
/// and `decodeRecord` is the one walk that reads it.

namespace pa {

/// Takes the text of one field into the record.
template <class Record>
using Column = void (*)(Record&, const char*);

/// A wire position that nothing is read from.
constexpr std::nullptr_t skipped = nullptr;

/// Integers and enumerations.
template <auto Member, class Record>
void integer(Record& record, const char* text) {
    auto& value = record.*Member;
    value = static_cast<std::remove_reference_t<decltype(value)>>(decodeInt(text));
}

template <auto Member, class Record>
void floating(Record& record, const char* text) {
    record.*Member = decodeDouble(text);
}

/// A text that is kept as received.
template <auto Member, class Record>
void asReceived(Record& record, const char* text) {
    record.*Member = text;
}

/// A text in the encoding of the link.
template <auto Member, class Record>
void translated(Record& record, const char* text) {
    assignDecoded(record.*Member, text);
}

/// A text in the encoding of the link that is kept as received: what reads it later undoes the
/// encoding.
template <auto Member, class Record>
void encoded(Record& record, const char* text) {
    asReceived<Member>(record, text);
}

/// The text of a field, or null for one that counts as absent: empty, "(null)", or without data.
inline const char* fieldText(const TEVnode& node) {
    const char* const text =
        node.dataPtr == nullptr ? nullptr : *static_cast<char* const*>(node.dataPtr);
    const bool taken =
        text != nullptr && *text != '\0' && (*text != '(' || std::string_view(text) != "(null)");
    return taken ? text : nullptr;
}

/// Reads one field, if there is one, and moves on to the next.
template <const auto& columns, std::size_t position, class Record>
void decodeField(const TEVnode*& node, Record& record) {
    if (node == nullptr) {
        return;
    }
    constexpr auto take = columns[position];
    if constexpr (take != nullptr) {
        if (const char* const text = fieldText(*node)) {
            take(record, text);
        }
    }
    node = node->nextNode;
}

template <const auto& columns, class Record, std::size_t... positions>
void decodeFields(const TEVlist& list, Record& record,
                  std::index_sequence<positions...> /*positions*/) {
    const TEVnode* node = list.listTop;
    (decodeField<columns, positions>(node, record), ...);
}

/// Reads a record by its columns. Absent fields keep their value; fields after the last column are
/// ignored. The compiler makes a plain sequence of steps from the table.
template <const auto& columns, class Record>
void decodeRecord(const TEVlist& list, Record& record) {
    decodeFields<columns>(list, record, std::make_index_sequence<std::size(columns)>());
}

/// Whether a handler was given a record at all; reports one that is missing.
inline bool hasRecord(const TEVlist* list, const char* handler, int key) {
    if (list == nullptr) {
        handleError(3, "%s: no record for key >%d<", handler, key);
    }
    return list != nullptr;
}

}  // namespace pa
