#include "include/common/RecordList.h"

#include <utility>

using namespace pa;

RecordList::RecordList(RecordFields fields)
    : fields_(std::move(fields)), texts_(fields_.size()), nodes_(fields_.size()) {
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        texts_[i] = fields_[i] ? fields_[i]->data() : nullptr;
        nodes_[i].ourList = &list_;
        nodes_[i].prevNode = i > 0 ? &nodes_[i - 1] : nullptr;
        nodes_[i].nextNode = i + 1 < nodes_.size() ? &nodes_[i + 1] : nullptr;
        nodes_[i].dataPtr = &texts_[i];
    }
    list_.elements = nodes_.size();
    if (!nodes_.empty()) {
        list_.listTop = &nodes_.front();
        list_.listBot = &nodes_.back();
    }
}
