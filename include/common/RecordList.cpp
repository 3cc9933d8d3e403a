// SPDX-License-Identifier: Apache-2.0
#include "include/common/RecordList.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace pa {

// -------------------------------------------------------------------------- fields

RecordFields::RecordFields(std::initializer_list<Field> fields) {
    std::size_t bytes = 0;
    for (const Field& field : fields) {
        bytes += field ? field->size() : 0;
    }
    reserve(fields.size(), bytes);
    for (const Field& field : fields) {
        push_back(field);
    }
}

RecordFields::RecordFields(std::size_t count, Field each) {
    reserve(count, each ? count * each->size() : 0);
    for (std::size_t i = 0; i < count; ++i) {
        push_back(each);
    }
}

RecordFields::Field RecordFields::operator[](std::size_t place) const {
    const char* const begin = text(place);
    return begin == nullptr ? Field() : std::string_view(begin, endOf(place) - beginOf(place) - 1);
}

RecordFields::Field RecordFields::at(std::size_t place) const {
    if (place >= size_) {
        throw std::out_of_range("a field that the record does not have");
    }
    return (*this)[place];
}

const char* RecordFields::text(std::size_t place) const {
    const std::size_t begin = beginOf(place);
    return begin == endOf(place) ? nullptr : block_.data() + textsBegin() + begin;
}

void RecordFields::set(std::size_t place, Field field) {
    const std::size_t begin = beginOf(place);
    const std::size_t before = endOf(place) - begin;
    const std::size_t after = field ? field->size() + 1 : 0;
    requireSize(textsSize() - before + after);
    block_.replace(textsBegin() + begin, before, after, '\0');
    if (field) {
        field->copy(&block_[textsBegin() + begin], field->size());
    }
    for (std::size_t i = place; i < size_; ++i) {
        setEnd(i, endOf(i) - before + after);
    }
}

void RecordFields::push_back(Field field) {
    if (size_ == mostFields_) {
        resizeTable(2 * size_ + 1);
    }
    const std::size_t begin = block_.size();
    const std::size_t added = field ? field->size() + 1 : 0;
    requireSize(textsSize() + added);
    block_.resize(begin + added);  // at once: a text without its field must not stay
    if (field) {
        field->copy(&block_[begin], field->size());
    }
    setEnd(size_, textsSize());
    ++size_;
}

void RecordFields::resize(std::size_t count) {
    block_.resize(textsBegin() + (count < size_ ? beginOf(count) : textsSize()));
    if (count > mostFields_) {
        resizeTable(count);
    }
    for (std::size_t i = size_; i < count; ++i) {
        setEnd(i, textsSize());
    }
    size_ = count;
}

void RecordFields::reserve(std::size_t count, std::size_t bytes) {
    const std::size_t mostFields = std::max(count, mostFields_);
    block_.reserve(mostFields * sizeof(End) + bytes + count);  // a NUL after each
    resizeTable(mostFields);
}

std::size_t RecordFields::heapBytes() const {
    static const std::size_t inside = std::string().capacity();
    return block_.capacity() > inside ? block_.capacity() + 1 : 0;
}

std::size_t RecordFields::endOf(std::size_t place) const {
    End end = 0;
    std::memcpy(&end, block_.data() + place * sizeof end, sizeof end);
    return end;
}

void RecordFields::requireSize(std::size_t texts) {
    if (texts > std::numeric_limits<End>::max()) {
        throw std::length_error("the texts of a record are too long");
    }
}

void RecordFields::swap(RecordFields& other) noexcept {
    std::swap(size_, other.size_);
    std::swap(mostFields_, other.mostFields_);
    block_.swap(other.block_);
}

void RecordFields::setEnd(std::size_t place, std::size_t end) {
    const auto written = static_cast<End>(end);
    std::memcpy(&block_[place * sizeof written], &written, sizeof written);
}

/// @param mostFields no fewer than now
void RecordFields::resizeTable(std::size_t mostFields) {
    block_.insert(textsBegin(), (mostFields - mostFields_) * sizeof(End), '\0');
    mostFields_ = mostFields;
}

bool operator==(const RecordFields& a, const RecordFields& b) {
    const auto isSame = [&](std::size_t place) { return a[place] == b[place]; };
    std::size_t same = 0;
    while (same < a.size() && same < b.size() && isSame(same)) {
        ++same;
    }
    return same == a.size() && same == b.size();
}

// -------------------------------------------------------------------------- list

void RecordList::assign(RecordFields fields) {
    const std::size_t count = fields.size();
    if (count > elements_.size()) {
        makeElements(count);
    } else if (list_.listBot != nullptr && list_.elements < elements_.size()) {
        list_.listBot->nextNode = &elements_[list_.elements].node;
    }
    fields_.swap(fields);
    const char* const texts = fields_.block_.data() + fields_.textsBegin();
    std::size_t begin = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t end = fields_.endOf(i);
        elements_[i].text = begin == end ? nullptr : texts + begin;
        begin = end;
    }
    list_.elements = count;
    list_.listTop = count > 0 ? &elements_.front().node : nullptr;
    list_.listBot = count > 0 ? &elements_[count - 1].node : nullptr;
    if (count > 0) {
        list_.listBot->nextNode = nullptr;
    }
}

void RecordList::makeElements(std::size_t count) {
    elements_ = std::vector<Element>(count);
    list_ = {};
    for (std::size_t i = 0; i < count; ++i) {
        elements_[i].node = {&list_, i + 1 < count ? &elements_[i + 1].node : nullptr,
                             i > 0 ? &elements_[i - 1].node : nullptr, &elements_[i].text};
    }
}

}  // namespace pa
