// The rules of the layer as a whole: names, settings, threads, and what the library reports.

#include <chrono>
#include <span>
#include <thread>

#include "Client/ClientFrames.h"
#include "Support/Test.h"
#include "TVK/ContractCheck.h"
#include "TVK/Object.h"
#include "descriptor/client.h"

namespace {
class Census;
}
template <>
inline constexpr TVK::InterfaceID TVK::kIdentifierOf<Census>{0x7e57, 21};

namespace {

using namespace descriptor;
using namespace Testing;

TEST(Source, CollidesWithNoOther) {
    std::set<quillet::WideString> names;
    using namespace std::string_literals;
    for (const std::string& text :
         {""s, "a"s, "b"s, "M\xc3\xbcller.mp4"s, "M\xc3\xb6ller.mp4"s, "M?ller"s, "M\xfcller"s,
          "M\xf6ller"s, "\xe6\x98\xa0"s, "\xf0\x9f\x8e\xac"s, "\xf0\x9f"s, "\xc3"s, "\xc3\xc3"s,
          "\xed\xa0\x80"s, "\xc0\x80"s, "\xef\xbf\xbd"s, "a\0b"s, "a\0c"s})
        EXPECT_TRUE(names.insert(quillet::utility::UTF8ToUTF16(text)).second) << text;
    EXPECT_EQ(quillet::utility::UTF8ToUTF16("\xc3\xbc\xe6\x98\xa0\xf0\x9f\x8e\xac"),
              u"\u00fc\u6620\U0001f3ac");
    // All of two bytes, so that no pair of them is another pair.
    std::set<quillet::WideString> pairs;
    for (int i = 0; i < 65536; ++i) {
        const char pair[] = {static_cast<char>(i >> 8), static_cast<char>(i)};
        EXPECT_TRUE(pairs.insert(quillet::utility::UTF8ToUTF16({pair, 2})).second);
    }
    EXPECT_NE(Source().name(), Source().name());
    EXPECT_FALSE(Source().is_named());
    EXPECT_TRUE(Source("").is_named());
}

void ExpectArgument(const std::function<void()>& inCall, const std::string& inText) {
    try {
        inCall();
        ADD_FAILURE() << "not thrown: " << inText;
    } catch (const ArgumentError& error) {
        EXPECT_EQ(error.what(), inText);
    }
}

TEST(Settings, ThatCannotBeAreRefusedByName) {
    const auto points = [](const PointSettings& inSettings) {
        return [inSettings] {
            PointTracker tracker(inSettings);
        };
    };
    ExpectArgument(points({.max_points = 0}), "settings.max_points: 0 is not in 1 to 100000");
    ExpectArgument(points({.stationary_limit = std::nanf("")}),
                   "settings.stationary_limit: nan is not in -1 to 1000");
    ExpectArgument(points({.round_trip = -1}), "settings.round_trip: -1 is not in 0 to 1000");
    ExpectArgument(points({.engine = Engine::klt, .verify = true}),
                   "settings.verify: is for the APT engine");
    ExpectArgument(points({.engine = Engine::klt, .min_distance = 9}),
                   "settings.min_distance: KLT points are always 10 pixels apart");
    ExpectArgument([] { RegionTracker({.width = 10, .height = 0.5}); },
                   "rect: it needs a width and a height of 1 pixel or more");
    ExpectArgument([] { RegionTracker({.x = std::nan(""), .width = 10, .height = 10}); },
                   "rect: a side is no number, or beyond a million pixels");
    ExpectArgument([] { RegionTracker({.width = 9, .height = 9}, {.hold_frames = -1}); },
                   "settings.hold_frames: -1 is not in 0 to 1000");
    ExpectArgument(
        [] {
            const KeyFrame keys[] = {{5, {0, 0, 9, 9}}, {5, {0, 0, 9, 9}}};
            track_between([](std::int64_t) { return Frame{}; }, keys);
        },
        "keys: frame 5 does not come after frame 5");
    Selection selection(MovingFrame(0));
    ExpectArgument([&] { selection.add(Strokes{}); }, "strokes: there are none");
    ExpectArgument([&] { selection.add(Stroke{}); }, "strokes[0].path: it has no points");
    ExpectArgument(
        [&] {
            selection.add(Stroke{.path = {{1, 1}}, .radius = 0});
        },
        "strokes[0].radius: 0 is not in 0.5 to 10000");
}

TEST(Trackers, StandWhereTheyStoodAfterABadFrame) {
    PointTracker tracker({.max_points = 50});
    PointTracker plain({.max_points = 50});
    RegionTracker region({.x = 60, .y = 60, .width = 60, .height = 50});
    RegionTracker plainRegion({.x = 60, .y = 60, .width = 60, .height = 50});
    for (int n = 0; n < 4; ++n) {
        if (n > 0) {
            ExpectArgument([&] { tracker.advance(MovingFrame(n, 200, 90)); },
                           "frame: 200x90 after frames of 200x160; restart for another size");
            EXPECT_THROW(region.advance(Frame{}, {.width = 5, .height = 5}), ArgumentError);
        }
        tracker.advance(MovingFrame(n));
        plain.advance(MovingFrame(n));
        EXPECT_EQ(tracker.points().frame, n);
        EXPECT_EQ(PlacesOf(tracker.points()), PlacesOf(plain.points()));
        EXPECT_EQ(region.advance(MovingFrame(n)).rect,
                  plainRegion.advance(MovingFrame(n)).rect);
    }
}

// The second thread comes while the first is inside: staged by a progress callback.
TEST(Threads, TwoInOneObjectAreTold) {
    std::string told;
    Selection* object = nullptr;
    SelectionSettings settings;
    settings.progress = [&](const Progress&) {
        std::thread second([&] {
            try {
                object->undo();
                object->add(Stroke{.path = {{4, 4}}});
            } catch (const BusyError& error) {
                told = error.what();
            }
        });
        second.join();
        return true;
    };
    Selection selection(MovingFrame(0, 64, 48), settings);
    object = &selection;
    selection.add(Stroke{.path = {{20, 20}}});
    EXPECT_EQ(told,
              "Selection: already at work in another thread or further up in this one; each "
              "thread needs an object of its own");
    settings.progress = nullptr;
}

TEST(Threads, TrackersOfTheirOwnGiveTheSameBitsSideBySide) {
    const auto run = [](Engine inEngine) {
        PointTracker tracker({.engine = inEngine, .max_points = 60, .round_trip = 1.0});
        RegionTracker region({.x = 60, .y = 60, .width = 60, .height = 50});
        std::vector<float> values;
        for (int n = 0; n < 5; ++n) {
            for (const Point& point : tracker.advance(MovingFrame(n)))
                values.insert(values.end(),
                              {point.x, point.y, point.age > 0 ? point.round_trip : 0});
            values.push_back(float(region.advance(MovingFrame(n)).rect.x));
        }
        return values;
    };
    for (const Engine engine : {Engine::apt, Engine::klt}) {
        const auto alone = run(engine);
        std::vector<float> found[3];
        std::vector<std::thread> threads;
        for (auto& values : found)
            threads.emplace_back([&] { values = run(engine); });
        for (std::thread& thread : threads)
            thread.join();
        for (const auto& values : found)
            EXPECT_EQ(values, alone);
    }
}

void BreakAContract() { ContractCheck(1 + 1 == 3); }

TEST(Reports, OfTheLibraryArriveInTheError) {
    try {
        detail::call_library("a sum", [] { BreakAContract(); });
        ADD_FAILURE();
    } catch (const LibraryError& error) {
        const std::string text = error.what();
        EXPECT_EQ(text.find("the library refused a sum: 1 + 1 == 3 ("), 0u) << text;
        EXPECT_NE(text.find("Rules_test.cpp:"), std::string::npos) << text;
        EXPECT_EQ(text.find('\n'), std::string::npos);
    }
    EXPECT_THROW(
        detail::call_library("nothing", [] { DP::Ref<DP::IDescriptorData>()->GetDataSize(); }),
        LibraryError);
    EXPECT_THROW(detail::call_library("memory", [] { throw std::bad_alloc(); }),
                 std::bad_alloc);
}

TEST(Reports, OfAHostWithADialogOfItsOwnStayTheHosts) {
    const RecordedReports reports;
    EXPECT_THROW(detail::call_library("a sum", [] { BreakAContract(); }), LibraryError);
    ASSERT_EQ(reports.Contracts().size(), 1u);
    EXPECT_EQ(reports.Contracts()[0].mText, "1 + 1 == 3");
}

TEST(Caches, AreNotClearedUnderSomebodyAtWork) {
    EXPECT_THROW(detail::call_library("a nap", [] { clear_caches(); }), BusyError);
    EXPECT_NO_THROW(clear_caches());
}

// A property that is equal to none and counts how many it was compared with.
class Census : public TVK::Object<Census, DP::IDescriptorProperty> {
public:
    quillet::WideString GetSourceID() override { return u"census"; }
    DP::DescriptorDataType GetDescriptorDataType() override {
        return DP::kDescriptorDataTypeGreyImage;
    }
    bool IsEqual(DP::Ref<DP::IDescriptorProperty>) override {
        ++sCompared;
        return false;
    }

    static int Computers() {
        sCompared = 0;
        DP::CreateDescriptorComputer(Census::Create());
        DP::CreateDescriptorComputerMgr()->RemoveDescriptorComputers(u"census");
        return sCompared;
    }

private:
    static inline int sCompared = 0;
};

TEST(Caches, KeepNoComputerOfATrackerThatIsGone) {
    clear_caches();
    {
        PointTracker apt({.max_points = 20, .round_trip = 1});
        PointTracker klt({.engine = Engine::klt, .max_points = 20, .round_trip = 1},
                         Source("a"));
        RegionTracker region({.width = 30, .height = 30});
        Selection selection(MovingFrame(0, 80, 60));
        GreyFrames grey(Source("a"));
        for (int n = 0; n < 2; ++n) {
            apt.advance(MovingFrame(n, 80, 60));
            klt.advance(MovingFrame(n, 80, 60));
        }
        EXPECT_GE(Census::Computers(), 8);
    }
    EXPECT_LE(Census::Computers(), 2) << "but for the pyramids', which the library made";
}

TEST(Progress, StopsARunBetweenFrames) {
    const std::vector<int> frames{1, 2, 3, 4, 5};
    std::vector<int> seen;
    const auto done = run(
        frames, [&](int inFrame) { seen.push_back(inFrame); },
        [](const Progress& inProgress) {
            EXPECT_EQ(inProgress.total, 5);
            return inProgress.done < 3;
        });
    EXPECT_EQ(done, 3);
    EXPECT_EQ(seen, (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(run(frames, [](int) {}), 5);
}

// The frame is given again, and comes to what it would have come to.
TEST(Progress, StopsWithinAFrameThatCanBeGivenAgain) {
    const auto frames = [] {
        std::vector<Frame> made;
        for (int n = 0; n < 4; ++n)
            made.push_back(Testing::MovingFrame(n));
        return made;
    }();
    for (const Engine engine : {Engine::klt, Engine::apt}) {
        PointTracker plain({.engine = engine, .max_points = 30});
        RegionTracker plainRegion({.x = 60, .y = 60, .width = 60, .height = 50});
        PointTracker tracker({.engine = engine, .max_points = 30});
        RegionTracker region({.x = 60, .y = 60, .width = 60, .height = 50});
        std::size_t at = 0;
        while (at < frames.size()) {
            bool isStopped = false;
            const auto once = [&](const Progress& inProgress) {
                return !inProgress.is_within || std::exchange(isStopped, true);
            };
            const auto rest = std::span(frames).subspan(at);
            EXPECT_EQ(run(
                          rest, [&](const Frame& inFrame) { tracker.advance(inFrame); }, once),
                      0);
            EXPECT_TRUE(isStopped);
            isStopped = false;
            EXPECT_EQ(run(
                          rest, [&](const Frame& inFrame) { region.advance(inFrame); }, once),
                      0);
            tracker.advance(frames[at]);
            region.advance(frames[at]);
            plain.advance(frames[at]);
            EXPECT_EQ(region.result().rect, plainRegion.advance(frames[at]).rect);
            EXPECT_EQ(PlacesOf(tracker.points()), PlacesOf(plain.points()));
            ++at;
        }
    }
}

TEST(Progress, AStoppedRectangleStandsWhereItStood) {
    RegionTracker plain({.x = 60, .y = 60, .width = 60, .height = 50});
    RegionTracker stopped({.x = 60, .y = 60, .width = 60, .height = 50});
    plain.advance(Testing::MovingFrame(0));
    stopped.advance(Testing::MovingFrame(0));
    const std::vector<Frame> next{Testing::MovingFrame(1)};
    EXPECT_EQ(run(
                  next, [&](const Frame& inFrame) { stopped.advance(inFrame); },
                  [](const Progress& inProgress) { return !inProgress.is_within; }),
              0);
    const Rect elsewhere{.x = 80, .y = 70, .width = 60, .height = 50};
    plain.correct(elsewhere);
    stopped.correct(elsewhere);
    const RegionResult expected = plain.advance(next[0]);
    EXPECT_EQ(stopped.advance(next[0]).rect, expected.rect);
    EXPECT_EQ(stopped.result().state, expected.state);
}

// The wait is longer than that between two questions: nothing but whose they are keeps the
// inner step's away.
TEST(Progress, OfAStepWithinTheCallbackIsNotTheCallbacks) {
    PointTracker outer({.engine = Engine::klt, .max_points = 30});
    const std::vector<Frame> frames{Testing::MovingFrame(0)};
    int asked = 0;
    bool isInside = false;
    const auto callback = [&](const Progress& inProgress) {
        EXPECT_FALSE(isInside);
        if (!inProgress.is_within || isInside || ++asked > 1) return true;
        isInside = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        PointTracker({.engine = Engine::klt, .max_points = 30}).advance(frames[0]);
        isInside = false;
        return true;
    };
    EXPECT_EQ(run(
                  frames, [&](const Frame& inFrame) { outer.advance(inFrame); }, callback),
              1);
    EXPECT_GE(asked, 1);
}

}  // namespace
