// The pasteboard among programs that do as they please.

#include <filesystem>
#include <random>

#include <unistd.h>

#include "desktop/PasteboardRig.h"
#include "desktop/SelectionPeer.h"

#include <xcb/res.h>

namespace dresk {
namespace {

/// Any bytes for any type.
class AnyOwner final : public PasteboardOwner {
  public:
    explicit AnyOwner(std::string bytes) : bytes_(std::move(bytes)) {}
    std::optional<std::string> provideDataForType(StringView /*type*/) override { return bytes_; }
    void dataTaken(StringView /*type*/) override { ++taken_; }
    int taken() const { return taken_; }

  private:
    const std::string bytes_;
    std::atomic<int> taken_{0};
};

class Peers : public testing::Test {
  protected:
    Pasteboard& pasteboard() { return *pasteboard_; }
    std::shared_ptr<AnyOwner> promise(const std::vector<String>& types, std::string bytes,
                                      PasteboardOptions options = {}) {
        auto owner = std::make_shared<AnyOwner>(std::move(bytes));
        pasteboard_->declareTypes(types, owner, options);
        return owner;
    }
    /// A peer has the clipboard and has told its targets.
    std::unique_ptr<SelectionPeer> makeOwner(const std::vector<std::string>& targets) {
        auto peer = std::make_unique<SelectionPeer>();
        peer->own("CLIPBOARD");
        const auto request = peer->awaitRequestFor("TARGETS");
        EXPECT_TRUE(request.has_value());
        if (request.has_value())
            peer->answerTargets(*request, targets);
        EXPECT_TRUE(await([&] { return pasteboard_->types().size() == targets.size(); }));
        return peer;
    }

  private:
    std::unique_ptr<X11Pasteboard> pasteboard_ = openPasteboard();
};

const String Text(PasteboardType::String);

// A call on another thread may read a request off the connection on its way.
TEST_F(Peers, WhatACallHasReadAheadIsServed) {
    SelectionPeer peer;
    promise({Text}, "text");
    const auto contents = readAll(pasteboard());
    for (int i = 0; i < 300; ++i) {
        peer.ask("CLIPBOARD", "UTF8_STRING");
        (void)pasteboard().contents();
        ASSERT_EQ(peer.awaitAnswer("UTF8_STRING"), true) << i;
        ASSERT_TRUE(peer.take("UTF8_STRING").has_value());
    }
}

TEST_F(Peers, AnotherProgramMayNameOurWindowAsTheOwner) {
    SelectionPeer peer;
    promise({Text}, "text");
    const xcb_window_t window = peer.owner("CLIPBOARD");
    peer.own("CLIPBOARD");
    xcb_set_selection_owner(peer.connection(), window, peer.atom("CLIPBOARD"), XCB_CURRENT_TIME);
    ASSERT_EQ(peer.owner("CLIPBOARD"), window);
    EXPECT_TRUE(pasteboard().types().empty());
    EXPECT_FALSE(pasteboard().dataForType(Text).has_value());
    EXPECT_TRUE(readAll(pasteboard())->types().empty());
    promise({Text}, "again");
    EXPECT_EQ(pasteboard().dataForType(Text), "again");
}

TEST_F(Peers, TypesAreOfferedAsTheirTargets) {
    SelectionPeer peer;
    promise({Text},
            "Gr\xC3\xBC\xC3\x9F"
            "e \xE6\xBC\xA2",
            {.concealed = true});
    EXPECT_EQ(peer.targets("CLIPBOARD"),
              (std::vector<std::string>{"TARGETS", "TIMESTAMP", "MULTIPLE", "UTF8_STRING",
                                        "text/plain;charset=utf-8", "STRING", "TEXT",
                                        "x-kde-passwordManagerHint"}));
    EXPECT_EQ(peer.fetch("CLIPBOARD", "STRING")->bytes, "Gr\xFC\xDF"
                                                        "e ?");
    EXPECT_EQ(peer.fetch("CLIPBOARD", "TEXT")->type, "UTF8_STRING");
    EXPECT_EQ(peer.fetch("CLIPBOARD", "x-kde-passwordManagerHint")->bytes, "secret");
    EXPECT_EQ(peer.fetch("CLIPBOARD", "TIMESTAMP")->type, "INTEGER");
    EXPECT_FALSE(peer.fetch("CLIPBOARD", "text/html").has_value());

    promise({String(PasteboardType::PNG), String(PasteboardType::RTFD), String(PasteboardType::RTF),
             String(PasteboardType::HTML)},
            "rich");
    EXPECT_EQ(peer.targets("CLIPBOARD"),
              (std::vector<std::string>{"TARGETS", "TIMESTAMP", "MULTIPLE", "image/png",
                                        "text/html", "text/rtf", "application/rtf", "UTF8_STRING",
                                        "text/plain;charset=utf-8", "STRING", "TEXT"}));
    EXPECT_FALSE(peer.fetch("CLIPBOARD", "x-kde-passwordManagerHint").has_value());
}

TEST_F(Peers, OnlyTheFrontTakes) {
    SelectionPeer peer;
    const auto owner = promise({Text}, std::string(1'000'000, 'x'));
    peer.fetch("CLIPBOARD", "UTF8_STRING");
    SelectionPeer front;
    front.takeFocus();
    front.targets("CLIPBOARD");
    front.fetch("CLIPBOARD", "TIMESTAMP");
    // Up to the last piece it may still fail.
    front.ask("CLIPBOARD", "UTF8_STRING");
    ASSERT_TRUE(front.awaitAnswer("UTF8_STRING").value_or(false));
    EXPECT_EQ(front.take("UTF8_STRING")->type, "INCR");
    ASSERT_TRUE(front.awaitNewValue("UTF8_STRING"));
    EXPECT_EQ(owner->taken(), 0);
    front.take("UTF8_STRING");
    EXPECT_EQ(front.fetch("CLIPBOARD", "UTF8_STRING")->bytes.size(), 1'000'000U);
    EXPECT_TRUE(await([&] { return owner->taken() == 1; }));
    // One that leaves the property behind has it all the same.
    const auto small = promise({Text}, "x");
    front.ask("CLIPBOARD", "UTF8_STRING");
    EXPECT_TRUE(await([&] { return small->taken() == 1; }));
}

TEST_F(Peers, SeveralAtOnce) {
    SelectionPeer peer;
    const auto owner = promise({Text, u"x/y"}, "data");
    const auto multiple = peer.atom("MULTIPLE");
    const std::vector<std::uint32_t> pairs = {
        peer.atom("UTF8_STRING"), peer.atom("P1"),  peer.atom("no/such"), peer.atom("P2"), multiple,
        peer.atom("P3"),          peer.atom("x/y"), peer.atom("P4")};
    peer.put(peer.window(), multiple, "ATOM_PAIR", 32, bytesOf(pairs));
    peer.ask("CLIPBOARD", "MULTIPLE");
    ASSERT_TRUE(peer.awaitAnswer("MULTIPLE").value_or(false));
    auto expected = pairs;
    expected[3] = expected[5] = XCB_ATOM_NONE;
    EXPECT_EQ(peer.take("MULTIPLE")->bytes, bytesOf(expected));
    EXPECT_EQ(peer.take("P1")->bytes, "data");
    EXPECT_FALSE(peer.take("P2").has_value());
    EXPECT_EQ(peer.take("P4")->bytes, "data");
    // Pairs that are none.
    for (const auto& [format, bytes] : std::vector<std::pair<std::uint8_t, std::string>>{
             {8, "abc"}, {32, bytesOf({1})}, {32, ""}, {16, "abcd"}}) {
        peer.put(peer.window(), multiple, "ATOM_PAIR", format, bytes);
        peer.ask("CLIPBOARD", "MULTIPLE");
        EXPECT_TRUE(peer.awaitAnswer("MULTIPLE").has_value());
        peer.take("MULTIPLE");
    }
    peer.ask("CLIPBOARD", "UTF8_STRING");
    EXPECT_TRUE(peer.awaitAnswer("UTF8_STRING").value_or(false));
}

TEST_F(Peers, ARequestorThatVanishesOrHangsHoldsUpNobody) {
    const auto owner = promise({Text}, std::string(2'000'000, 'x'));
    SelectionPeer hanging;
    hanging.ask("CLIPBOARD", "UTF8_STRING");
    for (int pieces = 0; pieces < 3; ++pieces) {
        SelectionPeer vanishing;
        vanishing.takeFocus();
        vanishing.ask("CLIPBOARD", "UTF8_STRING");
        ASSERT_TRUE(vanishing.awaitAnswer("UTF8_STRING").value_or(false));
        for (int i = 0; i < pieces; ++i) {
            vanishing.take("UTF8_STRING");
            ASSERT_TRUE(vanishing.awaitNewValue("UTF8_STRING"));
        }
    }
    SelectionPeer peer;
    EXPECT_EQ(peer.fetch("CLIPBOARD", "UTF8_STRING")->bytes.size(), 2'000'000U);
    EXPECT_EQ(owner->taken(), 0);
}

TEST_F(Peers, AnOwnerThatVanishesIsGivenUpAtOnce) {
    auto peer = makeOwner({"UTF8_STRING", "image/png"});
    const auto contents = pasteboard().contents();
    const auto text = peer->awaitRequest();
    ASSERT_TRUE(text.has_value());
    peer->answer(*text, "UTF8_STRING", 8, "text");
    const auto picture = peer->awaitRequest();
    ASSERT_TRUE(picture.has_value());
    peer->watch(picture->requestor);
    peer->answer(*picture, "INCR", 32, bytesOf({1'000'000}));
    ASSERT_TRUE(peer->awaitDeletion(*picture));
    peer->put(picture->requestor, picture->property, "image/png", 8, "part");
    ASSERT_TRUE(peer->awaitDeletion(*picture));
    peer.reset();
    ASSERT_TRUE(await([&] { return contents->isComplete(); }, SelectionReader::Patience / 2));
    EXPECT_EQ(contents->types(), (std::vector<String>{u"UTF8_STRING", u"image/png"}));
    EXPECT_EQ(contents->dataForType(Text), "text");
    EXPECT_EQ(contents->dataForType(PasteboardType::PNG), std::nullopt);
    EXPECT_TRUE(pasteboard().types().empty());
}

TEST_F(Peers, ASilentOwnerIsAskedOnce) {
    const auto peer = makeOwner({"UTF8_STRING"});
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(pasteboard().dataForType(Text), std::nullopt);
    const auto request = peer->awaitRequest();
    ASSERT_TRUE(request.has_value());
    EXPECT_FALSE(peer->awaitRequest(0.05).has_value());
    // Its answer counts, however late.
    peer->answer(*request, "UTF8_STRING", 8, "late");
    EXPECT_TRUE(await([&] { return pasteboard().dataForType(Text) == "late"; }));
    EXPECT_FALSE(peer->awaitRequest(0.05).has_value());
}

TEST_F(Peers, AnOwnerLateWithItsTargetsIsAskedForTheUsual) {
    SelectionPeer peer;
    peer.own("CLIPBOARD");
    const auto contents = pasteboard().contents();
    ASSERT_TRUE(peer.awaitRequestFor("TARGETS").has_value());
    promise({Text}, "expansion");
    while (const auto request = peer.awaitRequest(0.2)) {
        if (request->target == "STRING")
            peer.answer(*request, "STRING", 8, "\xFC");
        else
            peer.notify(*request, false);
    }
    ASSERT_TRUE(await([&] { return contents->isComplete(); }));
    EXPECT_EQ(contents->types(), std::vector<String>{u"STRING"});
    EXPECT_EQ(contents->dataForType(Text), "\xC3\xBC");
}

TEST_F(Peers, AnAnswerKeepsItsTypeAndFormat) {
    auto peer = makeOwner({"TEXT", "LENGTH", "PIXMAP", "x/wide", "x/refused"});
    const auto contents = pasteboard().contents();
    for (int i = 0; i < 5; ++i) {
        const auto request = peer->awaitRequest();
        ASSERT_TRUE(request.has_value());
        if (request->target == "TEXT")
            peer->answer(*request, "STRING", 8, "\xFC");
        else if (request->target == "LENGTH")
            peer->answer(*request, "INTEGER", 32, bytesOf({7}));
        else if (request->target == "PIXMAP")
            peer->answer(*request, "PIXMAP", 32, bytesOf({peer->window()}));
        else if (request->target == "x/wide")
            peer->answer(*request, "x/wide", 16, "abcd");
        else
            peer->notify(*request, false);
    }
    ASSERT_TRUE(await([&] { return contents->isComplete(); }));
    EXPECT_EQ(contents->dataForType(u"TEXT"), "\xFC");
    EXPECT_EQ(contents->dataForType(Text), "\xC3\xBC");
    // A thing of the owner's own that nobody else can keep.
    EXPECT_EQ(contents->dataForType(u"PIXMAP"), std::nullopt);

    promise({u"LENGTH", u"x/wide", u"TEXT"}, "abcd");
    SelectionPeer reader;
    for (const auto& [target, type, format] :
         std::vector<std::tuple<std::string, std::string, int>>{
             {"LENGTH", "INTEGER", 32}, {"x/wide", "x/wide", 16}, {"TEXT", "STRING", 8}}) {
        const auto answer = reader.fetch("CLIPBOARD", target);
        ASSERT_TRUE(answer.has_value()) << target;
        EXPECT_EQ(answer->type, type);
        EXPECT_EQ(answer->format, format);
        EXPECT_EQ(answer->bytes, "abcd");
    }
}

TEST_F(Peers, AnyAnswerIsSurvived) {
    std::mt19937 random(4711);
    const auto upTo = [&](unsigned most) {
        return std::uniform_int_distribution<unsigned>(0, most)(random);
    };
    const char* types[] = {"INCR", "ATOM", "STRING", "UTF8_STRING", "NULL", "TARGETS"};
    for (int round = 0; round < 40; ++round) {
        SelectionPeer peer;
        peer.own("CLIPBOARD");
        const auto contents = pasteboard().contents();
        // Whatever is asked gets an answer of any form, some of them twice, some none, in pieces
        // that nobody asked for, or for another property.
        while (const auto request = peer.awaitRequest(round % 8 == 0 ? 0.2 : 0.02)) {
            const auto format = static_cast<std::uint8_t>(8U << upTo(2));
            std::string bytes = noise(upTo(2000) / 4 * 4);
            if (request->target == "TARGETS" && upTo(2) != 0)
                bytes = bytesOf({upTo(600), peer.atom("UTF8_STRING"), 0, upTo(1U << 30),
                                 peer.atom("image/png"), peer.atom("image/png")});
            auto wrong = *request;
            if (upTo(9) == 0)
                wrong.property = peer.atom("WRONG");
            switch (upTo(5)) {
            case 0:
                peer.notify(*request, false);
                break;
            case 1:
                peer.notify(wrong);
                break;
            case 2:
                peer.answer(wrong, types[upTo(5)], format, bytes);
                peer.answer(*request, types[upTo(5)], format, bytes);
                break;
            default:
                peer.answer(wrong, types[upTo(5)], format, bytes);
                peer.put(request->requestor, request->property, types[upTo(5)], format, bytes);
            }
        }
        pasteboard().types();
        pasteboard().dataForType(Text);
        if (round % 2 == 0)
            pasteboard().declareTypes({}, nullptr, {});
    }
    makeOwner({"UTF8_STRING"});
    SelectionPeer reader;
    promise({Text}, "still here");
    EXPECT_EQ(reader.fetch("CLIPBOARD", "UTF8_STRING")->bytes, "still here");
    EXPECT_TRUE(await([&] { return pasteboard().dataForType(Text) == "still here"; }));
}

TEST_F(Peers, ThePrimarySelectionIsBorrowedAndGivenBack) {
    SelectionPeer reader;
    SelectionPeer owner;
    const auto primary = [&]() -> std::string {
        const auto text = reader.fetch("PRIMARY", "UTF8_STRING");
        return text.has_value() ? text->bytes : "nothing";
    };
    promise({Text}, "first", {.primaryToo = true});
    EXPECT_EQ(primary(), "first");
    promise({Text}, "clipboard alone");
    EXPECT_EQ(reader.owner("PRIMARY"), static_cast<xcb_window_t>(XCB_WINDOW_NONE));

    owner.own("PRIMARY");
    std::thread served([&] {
        for (int i = 0; i < 2; ++i) {
            const auto request = owner.awaitRequest();
            ASSERT_TRUE(request.has_value());
            if (request->target == "TARGETS")
                owner.answerTargets(*request, {"UTF8_STRING"});
            else
                owner.answer(*request, "UTF8_STRING", 8, "selected");
        }
    });
    promise({Text}, "second", {.primaryToo = true});
    served.join();
    EXPECT_EQ(primary(), "second");
    promise({Text}, "third", {.primaryToo = true});
    EXPECT_EQ(primary(), "third");
    promise({Text}, "clipboard alone");
    EXPECT_EQ(primary(), "selected");
    promise({Text}, "fourth", {.primaryToo = true});
    EXPECT_EQ(primary(), "fourth");
    promise({Text}, "clipboard alone");
    EXPECT_EQ(primary(), "selected");
    EXPECT_EQ(reader.fetch("CLIPBOARD", "UTF8_STRING")->bytes, "clipboard alone");

    // What the user selects in between stays.
    promise({Text}, "fifth", {.primaryToo = true});
    owner.own("PRIMARY");
    promise({Text}, "clipboard alone");
    EXPECT_EQ(reader.owner("PRIMARY"), owner.window());
}

/// Takes its time over the data.
class SlowOwner final : public PasteboardOwner {
  public:
    std::optional<std::string> provideDataForType(StringView /*type*/) override {
        isAsked = true;
        while (!mayEnd)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return "slow";
    }
    void dataTaken(StringView /*type*/) override {}

    std::atomic<bool> isAsked{false};
    std::atomic<bool> mayEnd{false};
};

TEST_F(Peers, ASlowConversionHoldsUpNobody) {
    SelectionPeer peer;
    const auto slow = std::make_shared<SlowOwner>();
    pasteboard().declareTypes({Text}, slow, {});
    peer.ask("CLIPBOARD", "UTF8_STRING");
    ASSERT_TRUE(await([&] { return slow->isAsked.load(); }));
    const double begin = steadySeconds();
    EXPECT_EQ(pasteboard().dataForType(Text), std::nullopt);
    const auto contents = pasteboard().contents();
    EXPECT_FALSE(contents->isComplete());
    promise({Text}, "next");
    EXPECT_LT(steadySeconds() - begin, 1);
    slow->mayEnd = true;
    // Who asked before the declaration gets what stood there then.
    EXPECT_TRUE(peer.awaitAnswer("UTF8_STRING").value_or(false));
    EXPECT_EQ(peer.take("UTF8_STRING")->bytes, "slow");
    EXPECT_TRUE(await([&] { return contents->isComplete(); }));
    EXPECT_EQ(contents->dataForType(Text), "slow");
    EXPECT_EQ(peer.fetch("CLIPBOARD", "UTF8_STRING")->bytes, "next");
}

TEST_F(Peers, AllCallsFromManyThreads) {
    const auto other = openPasteboard();
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([&, number] {
            Pasteboard& mine = number % 2 == 0 ? pasteboard() : *other;
            for (int i = 0; i < 60; ++i) {
                const std::int64_t before = mine.changeCount();
                const auto contents = mine.contents();
                const auto owner = std::make_shared<AnyOwner>("text");
                const PasteboardOptions options{.concealed = true, .primaryToo = i % 3 == 0};
                EXPECT_GT(mine.declareTypes({Text}, owner, options), before);
                mine.types();
                mine.dataForType(Text);
                contents->dataForType(Text);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    promise({Text}, "last");
    SelectionPeer peer;
    EXPECT_EQ(peer.fetch("CLIPBOARD", "UTF8_STRING")->bytes, "last");
}

/// What a client has in the server, windows and all.
std::size_t resourcesOf(const SelectionPeer& peer, xcb_window_t window) {
    xcb_res_query_client_resources_reply_t* reply = xcb_res_query_client_resources_reply(
        peer.connection(), xcb_res_query_client_resources(peer.connection(), window), nullptr);
    std::size_t count = 0;
    for (auto it = xcb_res_query_client_resources_types_iterator(reply); it.rem > 0;
         xcb_res_type_next(&it))
        count += it.data->count;
    free(reply);
    return count;
}

std::size_t openDescriptors() {
    const std::filesystem::directory_iterator begin("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin, std::filesystem::directory_iterator()));
}

TEST_F(Peers, RoundsLeaveNothingBehind) {
    SelectionPeer peer;
    const auto other = openPasteboard();
    const auto round = [&](int number) {
        other->declareTypes({Text}, std::make_shared<AnyOwner>(std::to_string(number)), {});
        const auto contents = pasteboard().contents();
        promise({Text}, "expansion", {.concealed = true, .primaryToo = number % 2 == 0});
        EXPECT_EQ(peer.fetch("CLIPBOARD", "UTF8_STRING")->bytes, "expansion");
        EXPECT_TRUE(await([&] { return contents->isComplete(); }));
        const auto saved = std::make_shared<AnyOwner>(*contents->dataForType(Text));
        pasteboard().declareTypes(contents->types(), saved, {});
        EXPECT_EQ(peer.fetch("CLIPBOARD", "UTF8_STRING")->bytes, std::to_string(number));
    };
    // On a busy machine the other one may tell its four targets too late for the first rounds.
    ASSERT_TRUE(await([&] {
        round(0);
        return pasteboard().types().size() == 4;
    }));
    const xcb_window_t window = peer.owner("CLIPBOARD");
    const std::size_t resources = resourcesOf(peer, window);
    const std::size_t descriptors = openDescriptors();
    const xcb_atom_t lastAtom = peer.atom("DRESK_TEST_BEFORE");
    for (int i = 1; i < 500; ++i)
        round(i);
    EXPECT_EQ(peer.atom("DRESK_TEST_BEHIND"), lastAtom + 1);
    EXPECT_TRUE(await([&] { return resourcesOf(peer, window) <= resources; }))
        << resourcesOf(peer, window) << " after " << resources;
    EXPECT_EQ(openDescriptors(), descriptors);
}

} // namespace
} // namespace dresk
