// What a key costs on its way from the keyboard to the application, without and with the tap. Runs
// on the display of tools/with-display: tools/with-display X11TapBench
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <thread>

#include <poll.h>

#include "desktop/ChildProcess.h"
#include "desktop/KeyInjector.h"

#include <xcb/xcb.h>

namespace dresk {
namespace {

constexpr int Keys = 300;
constexpr std::uint8_t LetterKeys[] = {38, 39, 40, 41, 43, 44, 45, 46}; // the home row
constexpr auto Interval = std::chrono::milliseconds(10);

/// A window that has the focus and reads keys.
class Window {
  public:
    Window() : connection_(xcb_connect(nullptr, nullptr)) {
        xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
        window_ = xcb_generate_id(connection_);
        const std::uint32_t values[] = {1, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_EXPOSURE};
        xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, screen->root, 0, 0, 200, 100,
                          0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        xcb_map_window(connection_, window_);
        xcb_flush(connection_);
        await(XCB_EXPOSE);
        xcb_set_input_focus(connection_, XCB_INPUT_FOCUS_PARENT, window_, XCB_CURRENT_TIME);
        xcb_flush(connection_);
    }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    ~Window() { xcb_disconnect(connection_); }

    /// Ends the program when nothing of that type comes within some seconds.
    void await(std::uint8_t type) {
        constexpr int patience = 5000;
        for (;;) {
            while (xcb_generic_event_t* event = xcb_poll_for_event(connection_)) {
                const bool found = (event->response_type & 0x7F) == type;
                std::free(event);
                if (found)
                    return;
            }
            pollfd entry{xcb_get_file_descriptor(connection_), POLLIN, 0};
            if (poll(&entry, 1, patience) != 1) {
                std::fprintf(stderr, "no event of type %d came\n", type);
                std::exit(1);
            }
        }
    }

  private:
    xcb_connection_t* connection_;
    xcb_window_t window_ = 0;
};

struct Latency {
    double p50;
    double p99;
};

Latency measure(KeyInjector& keys, Window& window) {
    std::vector<double> times;
    for (int i = 0; i < Keys; ++i) {
        const std::uint8_t key = LetterKeys[static_cast<std::size_t>(i) % std::size(LetterKeys)];
        const auto begin = std::chrono::steady_clock::now();
        keys.press(key);
        window.await(XCB_KEY_PRESS);
        const std::chrono::duration<double, std::milli> time =
            std::chrono::steady_clock::now() - begin;
        times.push_back(time.count());
        keys.release(key);
        std::this_thread::sleep_for(Interval);
    }
    std::sort(times.begin(), times.end());
    return {times[times.size() / 2], times[times.size() * 99 / 100]};
}

std::string writeTable(int rows) {
    std::string name = "/tmp/dresk-tap-bench.tsv";
    std::ofstream table(name);
    for (int i = 0; i < rows; ++i)
        table << "q" << i << "\timmediate\ttext " << i << '\n';
    return name;
}

int run() {
    std::string error;
    const auto keys = KeyInjector::connect(error);
    if (keys == nullptr) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    Window window;
    measure(*keys, window); // warms up
    std::printf("%-24s %9s %9s %7s %7s\n", "key to application", "p50 ms", "p99 ms", "p50 x",
                "p99 x");
    for (const int rows : {1000, 100'000}) {
        const Latency without = measure(*keys, window);
        const auto program = ChildProcess::start({DRESK_TEST_EXPANDER, writeTable(rows)});
        if (program == nullptr || program->readLine(20) != "ready")
            return 1;
        const Latency with = measure(*keys, window);
        (void)std::fflush(stdout);
        std::printf("without                  %9.3f %9.3f\n", without.p50, without.p99);
        std::printf("with %7d snippets    %9.3f %9.3f %7.2f %7.2f\n", rows, with.p50, with.p99,
                    with.p50 / without.p50, with.p99 / without.p99);
    }
    return 0;
}

} // namespace
} // namespace dresk

int main() {
    return dresk::run();
}
