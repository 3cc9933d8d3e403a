// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "../../framework/api.h"
#include "tevlist.h"

namespace pa {

/// The fields of a record in wire order; a field without a value is absent. All of them are in one
/// block of memory.
class PA_API RecordFields {
public:
    /// Valid until a field is set or added, or the record is moved or destroyed.
    using Field = std::optional<std::string_view>;

    /// Reads the fields in their order.
    class Iterator {
    public:
        /// At a field, or after the last.
        Iterator(const RecordFields& fields, std::size_t place) : fields_(fields), place_(place) {}
        /// The field.
        Field operator*() const { return fields_[place_]; }
        /// The next one.
        Iterator& operator++() { return ++place_, *this; }
        bool operator!=(const Iterator& other) const { return place_ != other.place_; }

    private:
        const RecordFields& fields_;
        std::size_t place_;
    };

    RecordFields() = default;
    /// These fields.
    RecordFields(std::initializer_list<Field> fields);
    /// So many fields, all with the same text or absent.
    explicit RecordFields(std::size_t count, Field each = std::nullopt);
    /// The same fields.
    RecordFields(const RecordFields&) = default;
    /// The same fields.
    RecordFields& operator=(const RecordFields&) = default;
    /// Leaves the other one empty.
    RecordFields(RecordFields&& other) noexcept { swap(other); }
    /// Leaves the other one empty.
    RecordFields& operator=(RecordFields&& other) noexcept {
        RecordFields taken(std::move(other));
        swap(taken);
        return *this;
    }
    ~RecordFields() = default;

    /// The number of fields, absent ones included.
    std::size_t size() const { return size_; }
    /// Whether there is none.
    bool empty() const { return size_ == 0; }
    /// The first field.
    Iterator begin() const { return {*this, 0}; }
    /// After the last field.
    Iterator end() const { return {*this, size_}; }

    /// @param place counted from 0, below `size()`
    Field operator[](std::size_t place) const;
    /// @throws std::out_of_range when there is no such field
    Field at(std::size_t place) const;
    /// The text with a NUL after it; null for an absent field.
    const char* text(std::size_t place) const;

    /// Replaces a field.
    /// @param field not one of this record
    /// @throws std::length_error for more than 4 GiB of texts, as all that add to them
    void set(std::size_t place, Field field);
    /// Adds a field after the last.
    /// @param field not one of this record
    void push_back(Field field);
    /// Adds absent fields, or removes the last ones.
    void resize(std::size_t count);
    /// Makes space for fields whose texts have so many bytes together.
    void reserve(std::size_t count, std::size_t bytes);

    /// The size of the block.
    std::size_t heapBytes() const;

    /// Exchanges the fields.
    void swap(RecordFields& other) noexcept;

    friend bool operator==(const RecordFields& a, const RecordFields& b);

private:
    friend class RecordList;

    using End = std::uint32_t;

    std::size_t textsBegin() const { return mostFields_ * sizeof(End); }
    std::size_t textsSize() const { return block_.size() - textsBegin(); }
    std::size_t beginOf(std::size_t place) const { return place == 0 ? 0 : endOf(place - 1); }
    std::size_t endOf(std::size_t place) const;
    void setEnd(std::size_t place, std::size_t end);
    static void requireSize(std::size_t texts);
    void resizeTable(std::size_t mostFields);

    std::size_t size_ = 0;
    std::size_t mostFields_ = 0;  // that the table has space for
    // A table with the end of each field among the texts, then the texts, with a NUL after each. An
    // absent field ends where it begins.
    std::string block_;
};

/// Owns a record: turns fields into the `TEVlist` that the record handlers read. The only place
/// that creates nodes.
///
/// A plain value without a lock. The list stays valid until another record is assigned or the
/// object is destroyed.
class PA_API RecordList {
public:
    RecordList() = default;
    /// A text ends at its first NUL, as the reader of the list sees it.
    explicit RecordList(RecordFields fields) { assign(std::move(fields)); }
    RecordList(const RecordList&) = delete;
    RecordList& operator=(const RecordList&) = delete;

    /// Replaces the record. The nodes of the one before are used again.
    void assign(RecordFields fields);

    /// The record, for a handler to read.
    TEVlist* list() { return &list_; }

private:
    struct Element {
        TEVnode node{};
        const char* text = nullptr;  // what the node's dataPtr points at
    };

    void makeElements(std::size_t count);

    RecordFields fields_;
    std::vector<Element> elements_;  // as many as the longest record had
    TEVlist list_{};
};

}  // namespace pa
