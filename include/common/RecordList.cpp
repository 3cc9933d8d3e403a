#include "include/common/RecordList.h"

#include <limits>
#include <stdexcept>
#include <utility>

using namespace pa;

namespace {

void checkSize(std::size_t bytes) {
    if (bytes > std::numeric_limits<std::uint32_t>::max()) {
        throw std::length_error("the texts of a record are too long");
    }
}

}  // namespace

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
    return begin == nullptr ? Field() : std::string_view(begin, ends_[place] - beginOf(place) - 1);
}

RecordFields::Field RecordFields::at(std::size_t place) const {
    if (place >= size()) {
        throw std::out_of_range("a field that the record does not have");
    }
    return (*this)[place];
}

const char* RecordFields::text(std::size_t place) const {
    const std::size_t begin = beginOf(place);
    return begin == ends_[place] ? nullptr : texts_.data() + begin;
}

void RecordFields::set(std::size_t place, Field field) {
    const std::size_t begin = beginOf(place);
    const std::size_t before = ends_[place] - begin;
    const std::size_t after = field ? field->size() + 1 : 0;
    checkSize(texts_.size() - before + after);
    texts_.replace(begin, before, after, '\0');
    if (field) {
        field->copy(&texts_[begin], field->size());
    }
    for (std::size_t i = place; i < ends_.size(); ++i) {
        ends_[i] = static_cast<std::uint32_t>(ends_[i] - before + after);
    }
}

void RecordFields::push_back(Field field) {
    if (field) {
        checkSize(texts_.size() + field->size() + 1);
        texts_.append(*field) += '\0';
    }
    ends_.push_back(static_cast<std::uint32_t>(texts_.size()));
}

void RecordFields::resize(std::size_t count) {
    ends_.resize(count, static_cast<std::uint32_t>(texts_.size()));
    texts_.resize(beginOf(count));
}

void RecordFields::reserve(std::size_t count, std::size_t bytes) {
    ends_.reserve(count);
    texts_.reserve(bytes + count);  // a NUL after each
}

std::size_t RecordFields::heapBytes() const {
    static const std::size_t inside = std::string().capacity();
    const std::size_t ofTexts = texts_.capacity() > inside ? texts_.capacity() + 1 : 0;
    return ends_.capacity() * sizeof(std::uint32_t) + ofTexts;
}

void RecordList::assign(RecordFields fields) {
    const std::size_t count = fields.size();
    if (count > elements_.size()) {
        elements_.resize(count);
    }
    fields_ = std::move(fields);
    for (std::size_t i = 0; i < count; ++i) {
        Element& element = elements_[i];
        element.text = fields_.text(i);
        element.node.ourList = &list_;
        element.node.prevNode = i > 0 ? &elements_[i - 1].node : nullptr;
        element.node.nextNode = i + 1 < count ? &elements_[i + 1].node : nullptr;
        element.node.dataPtr = &element.text;
    }
    list_.elements = count;
    list_.listTop = count > 0 ? &elements_.front().node : nullptr;
    list_.listBot = count > 0 ? &elements_[count - 1].node : nullptr;
}
