#pragma once

#include <optional>
#include <string>
#include <vector>

#include "../../framework/api.h"
#include "tevlist.h"

namespace pa {

/// The fields of a record in wire order; a field without a value is absent.
using RecordFields = std::vector<std::optional<std::string>>;

/// Owns a record: turns fields into the `TEVlist` that the record handlers read. The only place
/// that creates nodes.
///
/// A plain value without a lock. The list stays valid, at the same address, until the object is
/// destroyed.
class PA_API RecordList {
public:
    /// A text ends at its first NUL, as the reader of the list sees it.
    explicit RecordList(RecordFields fields);
    RecordList(const RecordList&) = delete;
    RecordList& operator=(const RecordList&) = delete;

    /// The record, for a handler to read.
    TEVlist* list() { return &list_; }

private:
    RecordFields fields_;
    std::vector<char*> texts_;  // what each node's dataPtr points at
    std::vector<TEVnode> nodes_;
    TEVlist list_{};
};

}  // namespace pa
