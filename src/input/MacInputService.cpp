#include "input/MacInputService.h"

#include "Foundation/Log.h"
#include "input/AXUtils.h"

namespace dresk {

namespace {

constexpr double SecureInputCheckInterval = 1.0;

constexpr std::uint32_t KeyEvents = eventMask(EventType::KeyDown) | eventMask(EventType::KeyUp);
constexpr std::uint32_t KeyAndModifierEvents = KeyEvents | eventMask(EventType::FlagsChanged);
constexpr std::uint32_t MouseEvents =
    eventMask(EventType::LeftMouseDown) | eventMask(EventType::RightMouseDown);

// Where the keys are on most keyboards; serves layouts that do not type the letter at all.
constexpr std::uint16_t UsualKeyCodeV = 9;
constexpr std::uint16_t UsualKeyCodeC = 8;

std::uint16_t keyCodeForLetter(const SRKeyCodeTransformer& transformer, StringView letter,
                               std::uint16_t usual) {
    return transformer.reverseTransformedValue(letter).value_or(usual);
}

} // namespace

MacInputService::MacInputService(Desktop& desktop,
                                 BundleIdentifierResolver& bundleIdentifierResolver,
                                 RunLoop& mainRunLoop)
    : desktop_(desktop), bundleIdentifierResolver_(bundleIdentifierResolver),
      mainRunLoop_(mainRunLoop), dreskProcess_(desktop.processes().currentProcess()),
      keyCodeTransformer_(desktop.keyboardLayouts()),
      keyCodeV_(keyCodeForLetter(keyCodeTransformer_, u"V", UsualKeyCodeV)),
      keyCodeC_(keyCodeForLetter(keyCodeTransformer_, u"C", UsualKeyCodeC)),
      keyDownEvent_(&mainRunLoop), keyUpEvent_(&mainRunLoop),
      inputContextChangedEvent_(&mainRunLoop),
      contextInputSetting_(std::make_shared<ContextInputSetting>()), lastKeyCode_(NotFound) {
    desktop_.keyboardLayouts().setInputSourceChangedHandler([this] {
        // A key may be waiting on this thread, so the many names are read on the other.
        mainRunLoop_.cancelAndCallAfter(0, {this, "regenerateStringToKeyCodeMapping"}, [this] {
            keyCodeTransformer_.regenerateStringToKeyCodeMapping();
        });
        inputSourceChangedEvent_.raise(nullptr);
    });
}

MacInputService::~MacInputService() {
    disableEvents();
    desktop_.keyboardLayouts().setInputSourceChangedHandler({});
    mainRunLoop_.cancelAll(this);
}

void MacInputService::enableEvents() {
    if (tapThread_ != nullptr)
        return;
    isLastProcessReceivedKeyEventNull_ = true;
    currentProxy_ = nullptr;
    {
        const std::lock_guard lock(mutex_);
        wanted_ = true;
    }
    tapThread_ = desktop_.startTapThread([this](RunLoop& loop) { enableEventsInternal(loop); });
    const std::lock_guard lock(mutex_);
    tapRunLoop_ = &tapThread_->runLoop();
}

// Runs first on the new tap thread. disableEvents may come at any moment of it.
void MacInputService::enableEventsInternal(RunLoop& loop) {
    std::shared_ptr<EventTap> eventTap = createKeyTap(loop);
    if (eventTap != nullptr)
        eventTap->enable(true);
    {
        const std::lock_guard lock(mutex_);
        if (!wanted_)
            return;
        eventTap_ = std::move(eventTap);
        if (eventTap_ != nullptr) {
            mainRunLoop_.post({this, "startCheckingSecureInputTimer"},
                              [this] { startCheckingSecureInputTimer(); });
        }
    }
    if (listenMouseDownEvents_)
        enableMouseEventTap(loop);
    const std::lock_guard lock(mutex_);
    eventsEnabled_ = wanted_;
}

std::unique_ptr<EventTap> MacInputService::createKeyTap(RunLoop& loop) {
    auto eventTap = desktop_.eventTaps().createEventTap(
        listenAtAnnotatedSession_ ? EventTaps::Location::AnnotatedSession
                                  : EventTaps::Location::Session,
        tailAppendEventTap_ ? EventTaps::Options::ListenOnly : EventTaps::Options::Default,
        KeyAndModifierEvents, loop, [this](EventTapProxy proxy, const DesktopEvent& event) {
            return cgEventCallback(proxy, event);
        });
    if (eventTap == nullptr)
        logLine("The event tap could not be created to monitor key events");
    return eventTap;
}

void MacInputService::enableMouseEventTap(RunLoop& loop) {
    {
        const std::lock_guard lock(mutex_);
        if (mouseEventTap_ != nullptr)
            return;
    }
    auto mouseEventTap = desktop_.eventTaps().createEventTap(
        EventTaps::Location::AnnotatedSession, EventTaps::Options::ListenOnly, MouseEvents, loop,
        [this](EventTapProxy proxy, const DesktopEvent& event) {
            return cgEventCallback(proxy, event);
        });
    if (mouseEventTap == nullptr) {
        logLine("The event tap could not be created to monitor mouse events");
        return;
    }
    const std::lock_guard lock(mutex_);
    if (!wanted_)
        return;
    mouseEventTap_ = std::move(mouseEventTap);
    mouseEventTap_->enable(true);
}

void MacInputService::disableMouseEventTap() {
    std::unique_ptr<EventTap> mouseEventTap;
    const std::lock_guard lock(mutex_);
    mouseEventTap = std::move(mouseEventTap_);
}

void MacInputService::disableEvents() {
    std::shared_ptr<EventTap> eventTap;
    {
        const std::lock_guard lock(mutex_);
        eventsEnabled_ = false;
        wanted_ = false;
        tapRunLoop_ = nullptr;
        eventTap = std::move(eventTap_);
    }
    eventTap.reset();
    disableMouseEventTap();
    if (tapThread_ != nullptr)
        tapThread_->runLoop().cancelAll(this);
    tapThread_.reset();
    mainRunLoop_.cancel({this, "startCheckingSecureInputTimer"});
    mainRunLoop_.cancel({this, "checkSecureInput"});

    const std::lock_guard lock(mutex_);
    for (const auto& output : waitingOutputs_)
        output->finished = true;
    waitingOutputs_.clear();
}

bool MacInputService::evenTapCreated() const {
    const std::lock_guard lock(mutex_);
    return eventTap_ != nullptr;
}

bool MacInputService::testFunction(EventTaps& eventTaps, RunLoop& loop) {
    return eventTaps.createEventTap(
               EventTaps::Location::Session, EventTaps::Options::ListenOnly, KeyEvents, loop,
               [](EventTapProxy, const DesktopEvent&) { return false; }) != nullptr;
}

// Taps live on the tap thread alone, so a change that comes from the main thread is handed over.
void MacInputService::setListenMouseDownEvents(bool listen) {
    if (listenMouseDownEvents_.exchange(listen) == listen || !eventsEnabled_)
        return;
    const std::lock_guard lock(mutex_);
    if (tapRunLoop_ == nullptr)
        return;
    tapRunLoop_->post({this, "setListenMouseDownEvents"}, [this, loop = tapRunLoop_] {
        if (listenMouseDownEvents_)
            enableMouseEventTap(*loop);
        else
            disableMouseEventTap();
    });
}

void MacInputService::startCheckingSecureInputTimer() {
    mainRunLoop_.cancelAndCallAfter(SecureInputCheckInterval, {this, "checkSecureInput"}, [this] {
        checkSecureInput();
        startCheckingSecureInputTimer();
    });
}

void MacInputService::checkSecureInput() {
    setSecureInputState(desktop_.eventTaps().isSecureEventInputEnabled());
}

void MacInputService::setSecureInputState(bool enabled) {
    if (secureInput_ == enabled)
        return;
    std::optional<String> name;
    if (enabled)
        name = desktop_.processes().localizedName(desktop_.processes().frontProcess());
    {
        const std::lock_guard lock(mutex_);
        lastAppEnabledSecureInput_ = std::move(name);
        if (secureInput_.exchange(enabled) == enabled)
            return;
    }
    secureInputChangedEvent_.raise(this);
}

std::optional<String> MacInputService::lastAppEnabledSecureInput() const {
    const std::lock_guard lock(mutex_);
    return lastAppEnabledSecureInput_;
}

std::optional<String> MacInputService::stringForKeyCode(std::int64_t keyCode, std::uint64_t flags) {
    if (keyCode < 0)
        return std::nullopt;
    return desktop_.keyboardLayouts().stringForKeyCode(keyCode, flags);
}

std::optional<String> MacInputService::inputSourceIdentifier() const {
    return desktop_.keyboardLayouts().currentInputSourceIdentifier();
}

void MacInputService::setFrontProcess(ProcessSerialNumber process) {
    desktop_.processes().setFrontProcess(process);
}

std::optional<String> MacInputService::getTextBeforeCaretWithMaxLength(std::int64_t length) {
    return AXUtils(desktop_).getTextBeforeCaretWithMaxLength(length);
}

Point MacInputService::mouseLocation() const {
    return desktop_.screens().pointerLocation();
}

} // namespace dresk
