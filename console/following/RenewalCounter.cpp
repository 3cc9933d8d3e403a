#include "console/following/RenewalCounter.h"

namespace console {

bool isOfRenewal(const palink::Refusal& refusal) {
    return refusal.operation == pa::operations::renewLock;
}

RenewalCounter::RenewalCounter()
    : listener_(paclient::kinds<paclient::SentOperation>(),
                [this](const paclient::ChangePtr& change) {
                    const auto& operation = std::get<paclient::SentOperation>(*change).operation;
                    if (operation.type == pa::operations::renewLock) {
                        const std::lock_guard guard(lock_);
                        ++renewals_[operation.payload.substr(0, operation.payload.find(','))];
                    }
                }) {}

int RenewalCounter::renewalsOf(int sourceId) const {
    const std::lock_guard guard(lock_);
    const auto found = renewals_.find(std::to_string(sourceId));
    return found == renewals_.end() ? 0 : found->second;
}

}  // namespace console
