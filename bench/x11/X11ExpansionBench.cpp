// From the key that completes an abbreviation to the last character in the application, typed and
// pasted, beside a bare XTest loop and a bare paste of the same text. Runs on the display of
// tools/with-display: tools/with-display X11ExpansionBench
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <fstream>

#include <poll.h>

#include "BareSender.h"
#include "TextField.h"
#include "desktop/ChildProcess.h"
#include "desktop/KeyInjector.h"

namespace dresk {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int Blocks = 3;
constexpr int Repetitions = 12;
constexpr std::uint8_t KeyZ = 52;
constexpr std::uint8_t KeyQ = 24;

struct Case {
    const char* name;
    std::u32string text;
    /// The user has copied something right before.
    bool afterCopy = false;
    char letter;
    std::uint8_t key;
};

enum class Way { BareTyping, BarePaste, Typed, Pasted };
constexpr Way Ways[] = {Way::BareTyping, Way::Typed, Way::BarePaste, Way::Pasted};

std::u32string repeated(std::u32string_view pattern, std::size_t length) {
    std::u32string text;
    while (text.size() < length)
        text += pattern;
    text.resize(length);
    return text;
}

std::vector<Case> cases() {
    constexpr std::u32string_view ascii = U"Kind regards, the team at No. 7. ";
    // 100 units: the two last ones are pairs.
    constexpr std::u32string_view mixed =
        U"Grüße, с приветом ещё раз: 5 € für \U0001F600 and \U0001F44D ";
    std::u32string unicode;
    for (std::size_t units = 0, i = 0; units < 100; ++i) {
        unicode.push_back(mixed[i % mixed.size()]);
        units += unicode.back() > 0xFFFF ? 2 : 1;
    }
    return {{"20 ASCII", repeated(ascii, 20), false, 'a', 38},
            {"200 ASCII", repeated(ascii, 200), false, 's', 39},
            {"2,000 ASCII", repeated(ascii, 2000), false, 'd', 40},
            {"100 Unicode", unicode, false, 'f', 41},
            {"20, fresh copy", repeated(ascii, 20), true, 'a', 38}};
}

std::string utf8Of(const std::u32string& text) {
    String units;
    for (const char32_t character : text)
        appendCodePoint(units, character);
    return toUTF8(units);
}

class Bench {
  public:
    explicit Bench(KeyInjector& keys) : keys_(keys) {
        for (const Case& item : cases_)
            sender_.prepareToType(item.text);
    }

    /// False when a text does not come as it should.
    bool run() {
        times_.resize(cases_.size());
        const std::string table = writeTable();
        for (int block = 0; block < Blocks; ++block)
            for (const Way way : Ways) {
                std::unique_ptr<ChildProcess> program;
                if (way == Way::Typed || way == Way::Pasted) {
                    program =
                        way == Way::Typed
                            ? ChildProcess::start({DRESK_TEST_EXPANDER, "--type", table})
                            : ChildProcess::start({DRESK_TEST_EXPANDER, "--paste", "0.02", table});
                    if (program == nullptr || program->readLine(20) != "ready")
                        return false;
                }
                for (std::size_t i = 0; i < cases_.size(); ++i)
                    if (!measure(cases_[i], way, times_[i][static_cast<std::size_t>(way)]))
                        return false;
            }
        return true;
    }

    void report() {
        std::printf("%-16s %10s %10s %7s %7s %10s %10s %7s %7s\n", "p50 in ms", "bare typed",
                    "typed", "p10 x", "p50 x", "bare paste", "pasted", "p10 x", "p50 x");
        for (std::size_t i = 0; i < cases_.size(); ++i) {
            auto& times = times_[i];
            for (auto& list : times)
                std::sort(list.begin(), list.end());
            std::printf("%-16s", cases_[i].name);
            reportPair(times[static_cast<std::size_t>(Way::BareTyping)],
                       times[static_cast<std::size_t>(Way::Typed)]);
            reportPair(times[static_cast<std::size_t>(Way::BarePaste)],
                       times[static_cast<std::size_t>(Way::Pasted)]);
            std::printf("\n");
        }
    }

  private:
    using Times = std::vector<double>;

    static double quantile(const Times& times, std::size_t percent) {
        return times.empty() ? 0 : times[times.size() * percent / 100];
    }
    /// The tenth that went fastest says what it costs when the machine has nothing else to do.
    static void reportPair(const Times& bare, const Times& own) {
        std::printf(" %10.2f %10.2f %7.2f %7.2f", quantile(bare, 50), quantile(own, 50),
                    quantile(own, 10) / quantile(bare, 10), quantile(own, 50) / quantile(bare, 50));
    }

    std::string writeTable() const {
        std::string name = "/tmp/dresk-expansion-bench.tsv";
        std::ofstream table(name);
        for (const Case& item : cases_)
            if (!item.afterCopy)
                table << "zq" << item.letter << "\timmediate\t" << utf8Of(item.text) << '\n';
        return name;
    }

    /// The first time does not count: what is made once is made then.
    bool measure(const Case& item, Way way, Times& times) {
        for (int i = 0; i <= Repetitions; ++i) {
            if (item.afterCopy || i == 0)
                sender_.own("what the user has copied");
            const auto begin =
                way == Way::Typed || way == Way::Pasted ? expand(item) : sendBare(item, way);
            if (!await(U' ' + item.text))
                return false;
            const std::chrono::duration<double, std::milli> time = Clock::now() - begin;
            if (i != 0)
                times.push_back(time.count());
            keys_.release(item.key);
            pause();
        }
        return true;
    }
    Clock::time_point sendBare(const Case& item, Way way) {
        field_.setText(U" zq");
        const auto begin = Clock::now();
        if (way == Way::BareTyping)
            sender_.type(2, item.text);
        else
            sender_.paste(2, utf8Of(item.text));
        return begin;
    }
    Clock::time_point expand(const Case& item) {
        field_.setText(U"");
        keys_.tap(KeyInjector::Space);
        keys_.tap(KeyZ);
        keys_.tap(KeyQ);
        await(U" zq");
        const auto begin = Clock::now();
        keys_.press(item.key);
        return begin;
    }

    bool await(const std::u32string& text) {
        constexpr auto patience = std::chrono::seconds(10);
        const auto end = Clock::now() + patience;
        while (field_.text() != text) {
            if (Clock::now() > end) {
                std::fprintf(stderr, "the field holds %s\n", utf8Of(field_.text()).c_str());
                return false;
            }
            serve(1);
        }
        return true;
    }
    /// Until the clipboard is back, and what was typed is known everywhere.
    void pause() {
        const auto end = Clock::now() + std::chrono::milliseconds(80);
        while (Clock::now() < end)
            serve(5);
    }
    void serve(int milliseconds) {
        pollfd entries[] = {{field_.descriptor(), POLLIN, 0}, {sender_.descriptor(), POLLIN, 0}};
        field_.serve();
        sender_.serve();
        poll(entries, 2, milliseconds);
        field_.serve();
        sender_.serve();
    }

    KeyInjector& keys_;
    const std::vector<Case> cases_ = cases();
    TextField field_;
    BareSender sender_;
    std::vector<std::array<Times, 4>> times_;
};

int run() {
    std::string error;
    const auto keys = KeyInjector::connect(error);
    if (keys == nullptr) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    Bench bench(*keys);
    if (!bench.run())
        return 1;
    bench.report();
    return 0;
}

} // namespace
} // namespace dresk

int main() {
    return dresk::run();
}
