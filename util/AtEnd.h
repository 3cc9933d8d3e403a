// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <utility>

namespace pautil {

/// Calls a function at the end of a block, whatever ends it.
class AtEnd {
public:
    explicit AtEnd(std::function<void()> call) : call_(std::move(call)) {}
    AtEnd(const AtEnd&) = delete;
    AtEnd& operator=(const AtEnd&) = delete;
    ~AtEnd() { call_(); }

private:
    const std::function<void()> call_;
};

}  // namespace pautil
