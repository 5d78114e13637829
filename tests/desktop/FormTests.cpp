// The fields form as a user has it: opened in front of an application, filled in from the keyboard.

#include <charconv>
#include <csignal>
#include <fstream>
#include <sstream>

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "desktop/DesktopTest.h"
#include "support/TemporaryFolder.h"

namespace dresk {
namespace {

constexpr double SecondsForForm = 20;

class Form : public DesktopTest {
  protected:
    void SetUp() override {
        DesktopTest::SetUp();
        ASSERT_FALSE(HasFailure());
        target_ = startTarget(TextTarget::Kind::Gtk);
        ASSERT_NE(target_, nullptr);
        ASSERT_NO_FATAL_FAILURE(startHost(DRESK_RESOURCES));
    }
    void TearDown() override {
        if (host_ != nullptr) {
            say("quit");
            EXPECT_EQ(host_->wait(10), 0);
        }
        DesktopTest::TearDown();
    }

    void startHost(const std::string& resources) {
        const std::string pipe = folder_ / "commands";
        unlink(pipe.c_str());
        ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
        host_ = startProgram({DRESK_FORM_HOST, DRESK_FORM_MODULE, resources, pipe});
        ASSERT_NE(host_, nullptr);
        commands_.close();
        // Read here as well, so that a host that has ended fails the test and does not end it.
        commands_.open(pipe, std::ios::in | std::ios::out);
    }
    void say(const std::string& line) { commands_ << line << std::endl; }
    std::string heard(double seconds = 5) { return host_->readLine(seconds).value_or("(nothing)"); }
    /// How the form ended: "closed", and behind it what was accepted.
    std::string outcome() {
        std::string line = heard();
        return line == "closed" ? line + " " + heard() : line;
    }
    /// Opens a form and waits until its page can be used; the milliseconds that took.
    int open(const std::string& content) {
        say("form " + content);
        const std::string line = heard(SecondsForForm);
        EXPECT_TRUE(line.starts_with("shown ")) << line;
        int milliseconds = -1;
        if (line.size() > 6)
            std::from_chars(line.data() + 6, line.data() + line.size(), milliseconds);
        return milliseconds;
    }
    void tab(int times = 1) {
        for (int i = 0; i < times; ++i)
            keys().tap(KeyInjector::Tab);
    }

    test::TemporaryFolder folder_;
    TextTarget* target_ = nullptr;
    ChildProcess* host_ = nullptr;
    std::ofstream commands_;
};

TEST_F(Form, IsFilledInFromTheKeyboard) {
    const int first =
        open(R"(Dear 【field:name value:World】: 【field:price type:3 value:10】 x )"
             R"(【field:qty type:3 value:2】 = 【field:total type:3 value:"price*qty"】\n)"
             R"(【field:colour type:2 value:"red\ngreen\nblue"】 )"
             R"(【field:note type:1 value:"more" optional:yes】 【field:end optional:yes】 )"
             R"(Yours 【field:name】)");
    type(u"Ann");
    tab(2);
    type(u"3");
    tab(2);
    type(u"g");
    tab(2);
    type(u"one");
    keys().tap(KeyInjector::Return);
    type(u"two");
    keys().press(KeyInjector::LeftControl);
    keys().tap(KeyInjector::Return);
    keys().release(KeyInjector::LeftControl);
    EXPECT_EQ(outcome(), "closed accepted\tAnn\t10\t3\t30\tgreen\tone\\ntwomore\t-\tAnn");

    target_->clear();
    type(u"back again");
    EXPECT_TRUE(holds(*target_, u"back again"));
    say("popover");
    EXPECT_LT(open("【field:a】"), first);
    type(u"x");
    keys().tap(KeyInjector::Return);
    EXPECT_EQ(outcome(), "closed accepted\tx");
}

TEST_F(Form, EscapeCancelsAndReturnAcceptsWhateverHasTheFocus) {
    open("【field:a】");
    type(u"x");
    keys().tap(KeyInjector::Escape);
    EXPECT_EQ(heard(), "closed");
    // The next form notes who is in front.
    EXPECT_TRUE(target_->focus());
    // No input at all, and then a check box.
    open("only 【field:a value:text readonly:yes】");
    keys().tap(KeyInjector::Return);
    EXPECT_EQ(outcome(), "closed accepted\ttext");
    EXPECT_TRUE(target_->focus());
    open("only 【field:a value:text readonly:yes】");
    keys().tap(KeyInjector::Escape);
    EXPECT_EQ(heard(), "closed");
    EXPECT_TRUE(target_->focus());
    open("【field:a value:text readonly:yes optional:yes】");
    keys().tap(KeyInjector::Space);
    keys().tap(KeyInjector::Return);
    EXPECT_EQ(outcome(), "closed accepted\ttext");
    EXPECT_TRUE(target_->focus());
    target_->clear();
    type(u"back");
    EXPECT_TRUE(holds(*target_, u"back"));
}

TEST_F(Form, ShowsHostileTextAndRunsNothing) {
    const std::string text = R"(</textarea></select><script>SnippetController.accept()</script>)"
                             R"(<img src=x onerror=SnippetController.accept()>)";
    const std::string quoted = "\"" + text + "\"";
    open(text + "【field:" + quoted + " value:" + quoted + "】" +
         "【field:b type:1 value:" + quoted + "】【field:c type:2 value:" + quoted + "】");
    type(u"typed");
    keys().tap(KeyInjector::Return);
    EXPECT_EQ(outcome(), "closed accepted\ttyped\t" + text + "\t" + text);
}

/// A port that notes whether anybody comes.
class Listener {
  public:
    Listener() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        bind(socket_, reinterpret_cast<const sockaddr*>(&address), size);
        listen(socket_, 8);
        getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size);
        port_ = std::to_string(ntohs(address.sin_port));
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    ~Listener() { close(socket_); }
    const std::string& port() const { return port_; }
    bool wasCalled() const {
        pollfd wanted{socket_, POLLIN, 0};
        return poll(&wanted, 1, 0) > 0;
    }

  private:
    int socket_;
    std::string port_;
};

// Mark-up that got past everything else.
TEST_F(Form, PolicyStopsMarkUpOfOthers) {
    const Listener listener;
    const std::string address = "http://127.0.0.1:" + listener.port() + "/";
    const std::string accept = "window.SnippetController.accept()";
    std::stringstream page;
    page << std::ifstream(std::string(DRESK_RESOURCES) + "/index.html").rdbuf();
    std::string html = page.str();
    const auto at = html.find("<div>");
    ASSERT_NE(at, std::string::npos);
    html.insert(at + 5, "<script>" + accept + "</script><img src=\"" + address +
                            "a.png\" onerror=\"" + accept + "\"><img src=\"data:,x\" onerror=\"" +
                            accept + "\"><svg onload=\"" + accept + "\"></svg><iframe src=\"" +
                            address +
                            "\"></iframe><iframe src=\"file:///etc/passwd\"></iframe>"
                            "<iframe srcdoc=\"<script>parent." +
                            accept +
                            "</script>\"></iframe>"
                            "<link rel=\"stylesheet\" href=\"" +
                            address +
                            "a.css\">"
                            "<style>@import url(\"" +
                            address +
                            "b.css\");</style>"
                            "<object data=\"" +
                            address +
                            "\"></object>"
                            "<meta http-equiv=\"refresh\" content=\"0;url=" +
                            address +
                            "\">"
                            "<script src=\"" +
                            address + "a.js\"></script>");
    std::ofstream(folder_ / "index.html") << html;
    say("quit");
    ASSERT_EQ(host_->wait(10), 0);
    ASSERT_NO_FATAL_FAILURE(startHost(folder_.path()));

    open("【field:a】");
    type(u"typed");
    keys().tap(KeyInjector::Return);
    EXPECT_EQ(outcome(), "closed accepted\ttyped");
    EXPECT_FALSE(listener.wasCalled());
}

bool isBelow(pid_t process, pid_t ancestor) {
    while (process > 1 && process != ancestor) {
        std::ifstream status("/proc/" + std::to_string(process) + "/stat");
        std::string word;
        // The name in brackets holds no blank here.
        status >> word >> word >> word >> process;
        if (!status)
            return false;
    }
    return process == ancestor;
}

/// The processes that draw pages for that program.
std::vector<pid_t> renderersOf(pid_t program) {
    std::vector<pid_t> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const pid_t process = std::atoi(entry.path().filename().c_str());
        std::string command;
        std::getline(std::ifstream(entry.path() / "cmdline") >> std::ws, command);
        if (process > 0 && command.find("--type=renderer") != std::string::npos &&
            isBelow(process, program))
            found.push_back(process);
    }
    return found;
}

TEST_F(Form, RendererThatDiesClosesTheFormAndTheNextOneWorks) {
    open("【field:a】");
    const auto renderers = renderersOf(host_->pid());
    ASSERT_FALSE(renderers.empty());
    for (const pid_t renderer : renderers)
        kill(renderer, SIGKILL);
    EXPECT_EQ(heard(), "closed");
    open("【field:a】");
    type(u"x");
    keys().tap(KeyInjector::Return);
    EXPECT_EQ(outcome(), "closed accepted\tx");
}

} // namespace
} // namespace dresk
