// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "resource/common/stringUtils.h"

namespace pa {

/// A resource whose list of texts keeps the memory of the texts while the record is made blank.
template <class Resource, std::vector<std::string> Resource::*list>
struct KeepsTexts : Resource {
    KeepsTexts() = default;
    KeepsTexts(const KeepsTexts&) = delete;
    KeepsTexts& operator=(const KeepsTexts& blank) {
        kept_.swap(this->*list);
        Resource::operator=(blank);
        return *this;
    }
    ~KeepsTexts() = default;

    /// Replaces the list by all tokens that follow.
    void assignTexts(TokenReader tokens) {
        kept_.swap(this->*list);
        assignTokens(tokens, this->*list);
    }

private:
    std::vector<std::string> kept_;
};

/// A record to decode into, with every member at its default. It has the memory of the texts that
/// the same thread has decoded before, so that most records need none of their own.
///
/// There may be several at a time, one in the callback of another; the thread keeps one of them.
/// Its memory does not shrink: it is what the longest texts of a record of this kind have taken.
template <class Record>
class BlankRecord {
public:
    BlankRecord() : pair_(std::exchange(kept, nullptr)) {
        if (pair_ == nullptr) {
            pair_ = std::make_unique<Pair>();
        } else {
            pair_->record = pair_->blank;
        }
    }
    BlankRecord(const BlankRecord&) = delete;
    BlankRecord& operator=(const BlankRecord&) = delete;
    ~BlankRecord() {
        if (kept == nullptr && !threadEnds) {
            [[maybe_unused]] thread_local const AtEndOfThread release;
            kept = pair_.release();
        }
    }

    Record& operator*() { return pair_->record; }
    Record* operator->() { return &pair_->record; }

private:
    struct Pair {
        Record record;
        const Record blank{};
    };
    struct AtEndOfThread {
        ~AtEndOfThread() {
            threadEnds = true;
            delete std::exchange(kept, nullptr);
        }
    };
    // Plain values: a record may still come while the objects of the thread are destroyed.
    inline static thread_local Pair* kept = nullptr;
    inline static thread_local bool threadEnds = false;

    std::unique_ptr<Pair> pair_;
};

}  // namespace pa
