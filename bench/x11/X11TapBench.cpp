// What a key costs on its way from the keyboard to the application, without and with the tap. Runs
// on the display of tools/with-display: tools/with-display X11TapBench
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <thread>

#include "FocusedWindow.h"
#include "desktop/ChildProcess.h"
#include "desktop/KeyInjector.h"

namespace dresk {
namespace {

constexpr int Keys = 300;
constexpr std::uint8_t LetterKeys[] = {38, 39, 40, 41, 43, 44, 45, 46}; // the home row
constexpr auto Interval = std::chrono::milliseconds(10);

struct Latency {
    double p50;
    double p99;
};

Latency measure(KeyInjector& keys, FocusedWindow& window) {
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
    FocusedWindow window;
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
