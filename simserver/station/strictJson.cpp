// SPDX-License-Identifier: Apache-2.0
#include "simserver/station/strictJson.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "simserver/station/JsonFault.h"
#include "simserver/station/StationFile.h"

namespace simserver {

namespace {

using Json = nlohmann::json;

/// Builds the tree from the events of the JSON library's parser; the names of the functions are the
/// library's. Each returns true to continue. The library's own builder, when it is asked for the
/// members' names, searches the whole list at the end of each object in it.
class TreeBuilder {
public:
    bool null() { return add(nullptr); }
    bool boolean(bool value) { return add(value); }
    bool number_integer(Json::number_integer_t value) { return add(value); }
    bool number_unsigned(Json::number_unsigned_t value) { return add(value); }
    bool number_float(Json::number_float_t value, const std::string& /*text*/) {
        return add(value);
    }
    bool string(std::string& value) { return add(std::move(value)); }
    bool binary(Json::binary_t& value) { return add(std::move(value)); }

    bool start_object(std::size_t /*size*/) { return open(Json::object()); }
    bool key(std::string& name) {
        const auto [member, isNew] = open_.back()->emplace(name, nullptr);
        if (!isNew) {
            throw ScenarioError(pointer() + "/" + name + ": the member is given twice");
        }
        member_ = &*member;
        return true;
    }
    bool end_object() { return close(); }
    bool start_array(std::size_t /*size*/) { return open(Json::array()); }
    bool end_array() { return close(); }

    bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                     const Json::exception& fault) {
        throw ScenarioError(jsonFault(fault));
    }

    Json takeTree() { return std::move(root_); }

private:
    template <class Value>
    bool add(Value&& value) {
        place(std::forward<Value>(value));
        return true;
    }

    bool open(Json empty) {
        open_.push_back(&place(std::move(empty)));
        return true;
    }

    bool close() {
        open_.pop_back();
        return true;
    }

    /// @return the value in the tree
    Json& place(Json value) {
        if (open_.empty()) {
            return root_ = std::move(value);
        }
        if (open_.back()->is_array()) {
            return open_.back()->emplace_back(std::move(value));
        }
        return *member_ = std::move(value);
    }

    /// Of the innermost list or object that is open.
    std::string pointer() const {
        std::string text;
        for (std::size_t i = 0; i + 1 < open_.size(); ++i) {
            text += "/" + nameOf(*open_[i + 1], *open_[i]);
        }
        return text;
    }

    /// Of the child that is open; in a list that is the last one.
    static std::string nameOf(const Json& child, const Json& parent) {
        if (parent.is_array()) {
            return std::to_string(parent.size() - 1);
        }
        const auto& members = parent.get_ref<const Json::object_t&>();
        return std::find_if(members.begin(), members.end(),
                            [&child](const auto& member) { return &member.second == &child; })
            ->first;
    }

    Json root_;
    std::vector<Json*> open_;  // lists and objects that have not ended, outermost first
    Json* member_ = nullptr;   // of the innermost object: the one whose value is next
};

}  // namespace

Json parseStrictly(const std::string& text) {
    TreeBuilder builder;
    Json::sax_parse(text, &builder);
    return builder.takeTree();
}

}  // namespace simserver
