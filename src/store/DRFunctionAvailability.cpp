#include "store/DRFunctionAvailability.h"

#include <algorithm>

namespace dresk {

namespace {

bool listHas(const DRFunctionAvailability::List& list, const std::optional<String>& identifier) {
    return list.has_value() && identifier.has_value() &&
           std::find(list->begin(), list->end(), *identifier) != list->end();
}

} // namespace

bool DRFunctionAvailability::allowsApplication(const std::optional<String>& identifier) const {
    switch (availability_) {
    case 0:
        return true;
    case 1:
        return !listHas(applications_, identifier);
    case 2:
        return listHas(applications_, identifier);
    default:
        return false;
    }
}

bool DRFunctionAvailability::allowsInputSource(const std::optional<String>& identifier) const {
    if (inputMethodsOption_ == 0 || !identifier.has_value())
        return true;
    return listHas(inputMethods_, identifier) == (inputMethodsOption_ != 1);
}

} // namespace dresk
