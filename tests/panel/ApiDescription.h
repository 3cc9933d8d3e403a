// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

#include "client/json.h"

/// The description of the API, docs/panel-api.yaml, and whether values are as its schemas say.
class ApiDescription {
public:
    using Json = paclient::Json;

    explicit ApiDescription(const std::filesystem::path& file);
    /// Of these schemas.
    explicit ApiDescription(Json document) : document_(std::move(document)) {}

    [[nodiscard]] const Json& document() const { return document_; }

    /// A node, or what its `$ref` names.
    /// @throws std::exception when there is no such thing
    [[nodiscard]] const Json& resolved(const Json& node) const;

    /// The first thing in which a value is not as a schema says; empty when there is none. Stricter
    /// than the standard: a member must be described, unless the schema describes none at all.
    [[nodiscard]] std::string fault(const Json& value, const Json& schema,
                                    const std::string& place = "value") const;

private:
    [[nodiscard]] Json flattened(const Json& schema) const;
    [[nodiscard]] std::string objectFault(const Json& value, const Json& schema,
                                          const std::string& place) const;

    const Json document_;
};
