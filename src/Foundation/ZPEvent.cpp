#include "Foundation/ZPEvent.h"

#include <algorithm>

#include "Foundation/RunLoop.h"

namespace dresk {

ZPEvent::~ZPEvent() {
    if (mainRunLoop_ != nullptr)
        mainRunLoop_->cancelAll(this);
}

void ZPEvent::remove(const ZPEventHandler& handler) {
    const auto found = std::find(handlers_.begin(), handlers_.end(), handler);
    if (found != handlers_.end())
        handlers_.erase(found);
}

void ZPEvent::raiseOnMainThread(const std::shared_ptr<ZPObject>& argument) const {
    assert(mainRunLoop_ != nullptr);
    for (const ZPEventHandler& handler : handlers_)
        mainRunLoop_->post({this, "raiseOnMainThread"}, [this, handler, argument] {
            if (std::find(handlers_.begin(), handlers_.end(), handler) != handlers_.end())
                handler(argument.get());
        });
}

} // namespace dresk
