#include "shell/AccessTest.h"

#include <utility>

#include "input/MacInputService.h"

namespace dresk {

AccessTest::~AccessTest() {
    cancel();
}

void AccessTest::cancel() {
    thread_.reset();
    mainRunLoop_.cancelAll(this);
    answer_ = nullptr;
}

void AccessTest::run(std::function<void(bool)> answer) {
    if (answer_)
        return;
    answer_ = std::move(answer);
    thread_ = desktop_.startTapThread([this](RunLoop& loop) {
        const bool granted = MacInputService::testFunction(desktop_.eventTaps(), loop);
        mainRunLoop_.post({this, "finish"}, [this, granted] { finish(granted); });
    });
    if (thread_ == nullptr)
        mainRunLoop_.post({this, "finish"}, [this] { finish(false); });
}

void AccessTest::finish(bool granted) {
    thread_.reset();
    std::exchange(answer_, nullptr)(granted);
}

} // namespace dresk
