#include "console/following/RenewalCounter.h"

namespace console {

namespace {

bool isRenewal(int operationClass, int operationNumber) {
    return operationClass == 92 && operationNumber == 7;
}

}  // namespace

bool isOfRenewal(const palink::Refusal& refusal) {
    return isRenewal(refusal.operationClass, refusal.operationNumber);
}

void RenewalCounter::handleOperation(const pa::Operation& operation) {
    if (isRenewal(operation.operationClass, operation.operationNumber)) {
        const std::lock_guard guard(lock_);
        ++renewals_[operation.payload.substr(0, operation.payload.find(','))];
    }
    server_.handleOperation(operation);
}

int RenewalCounter::renewalsOf(int sourceId) const {
    const std::lock_guard guard(lock_);
    const auto found = renewals_.find(std::to_string(sourceId));
    return found == renewals_.end() ? 0 : found->second;
}

}  // namespace console
