#include "descriptor/Selection.h"

#include "Client/ClientFrames.h"
#include "DP/DescriptorFactory.h"
#include "Support/Test.h"
#include "descriptor/Caches.h"
#include "descriptor/StrokeMasks.h"
#include "descriptor/strokes_json.h"

namespace {

using namespace descriptor;
using namespace Testing;

constexpr int kWidth = 96;
constexpr int kHeight = 64;

// Two grainy discs on another colour, BGRA.
Frame Picture(int inShift = 0) {
    std::vector<unsigned char> pixels;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            const auto isIn = [&](int inX, int inRadius) {
                const int dx = x - inX - inShift;
                const int dy = y - kHeight / 2;
                return dx * dx + dy * dy < inRadius * inRadius;
            };
            const bool disc = isIn(32, 20) || isIn(76, 11);
            const int grain = (x * 7 + y * 13) % 11;
            for (const int value : {disc ? 40 : 120, disc ? 90 : 110, disc ? 210 : 60, 245})
                pixels.push_back(static_cast<unsigned char>(value + grain));
        }
    Frame frame = FrameOf(pixels, kWidth, kHeight);
    frame.format = PixelFormat::bgra;
    return frame;
}

Stroke Line(double inY, double inFrom, double inTo, Label inLabel = Label::foreground) {
    return {.path = {{inFrom, inY}, {inTo, inY}}, .radius = 1, .label = inLabel};
}

std::vector<unsigned char> Bytes(const Frame& inMask) {
    return {inMask.row(0), inMask.row(0) + kWidth * kHeight};
}
int Count(const Selection& inSelection) {
    const auto bytes = Bytes(inSelection.mask());
    return int(std::count(bytes.begin(), bytes.end(), 255));
}

// What the library's own interface gives for the same calls.
std::vector<unsigned char> RawCuts(const Frame& inFrame, std::span<const Strokes> inHistory) {
    auto pixels = std::vector<unsigned char>(inFrame.row(0), inFrame.row(kHeight));
    pixels.push_back(pixels[pixels.size() - 4]);
    const auto name = quillet::utility::AsciiToUTF16("raw");
    const auto computer = DP::CreateDescriptorComputer(
        DP::CreateDescriptorProperty(name, DP::kDescriptorDataTypeGraphCut));
    IP::ImagePtr<unsigned char> labels;
    for (const Strokes& strokes : inHistory) {
        detail::StrokeImages images(kWidth, kHeight);
        for (const Stroke& stroke : strokes)
            images.draw(stroke);
        const auto item = DP::CreateDescriptorWorkerItem(DP::kDescriptorDataTypeGraphCut);
        item->SetDataKey(DP::CreateDescriptorDataKey(name, 0, kHeight, kWidth));
        DP::Ref<DP::IGraphCutDescriptorWorkerItem>(item)->SetInputs(
            pixels.data(), kWidth * 4, images.mForeground, images.mBackground, labels);
        labels = DP::Ref<DP::IGraphCutDescriptorData>(computer->GetDescriptorData(item, false))
                     ->GetLabelImage();
    }
    return {labels->GetData(), labels->GetData() + kWidth * kHeight};
}

TEST(Selection, SelectsWhatTheStrokesSay) {
    Selection selection(Picture());
    EXPECT_EQ(Count(selection), 0);
    selection.add({Line(32, 24, 40), Line(4, 8, 88, Label::background)});
    const int large = Count(selection);
    EXPECT_NEAR(large, 3.14159 * 20 * 20, 30);
    selection.add(Line(32, 70, 82));
    EXPECT_NEAR(Count(selection) - large, 3.14159 * 11 * 11, 20);
    EXPECT_GT(selection.last_cut_seconds(), 0.0);
}

Strokes RandomStrokes(Random& ioRandom) {
    const auto number = [&](int inMost) {
        return double(ioRandom.Integer(0, inMost - 1));
    };
    Strokes strokes;
    for (std::size_t i = 0; i < std::size_t(ioRandom.Integer(1, 2)); ++i) {
        Stroke stroke{.radius = 0.5 + number(4),
                      .label = ioRandom.Integer(0, 1) ? Label::foreground : Label::background};
        for (std::size_t k = 0; k < std::size_t(ioRandom.Integer(1, 3)); ++k)
            stroke.path.push_back({number(kWidth + 20) - 10, number(kHeight + 20) - 10});
        strokes.push_back(stroke);
    }
    return strokes;
}

// Any walk of strokes, undo and redo shows at each step what the strokes that count give
// when they are made anew with the raw interface.
TEST(Selection, UndoesAndRedoesToTheBitsOfAFreshReplay) {
    Random random(5);
    for (int trial = 0; trial < 6; ++trial) {
        const Frame picture = Picture(trial);
        Selection selection(picture, {.take_turns = true});
        for (int step = 0; step < 14; ++step) {
            const int what = random.Integer(0, 4);
            const std::size_t before = selection.history().size();
            if (what < 2) {
                selection.add(RandomStrokes(random));
                EXPECT_EQ(selection.history().size(), before + 1);
                EXPECT_FALSE(selection.can_redo());
            } else if (what < 4) {
                EXPECT_EQ(selection.undo(), before > 0);
            } else {
                const bool could = selection.can_redo();
                EXPECT_EQ(selection.redo(), could);
                EXPECT_EQ(selection.history().size(), before + could);
            }
            const auto mask = Bytes(selection.mask());
            const auto history = selection.history();
            if (history.empty())
                EXPECT_EQ(mask, std::vector<unsigned char>(kWidth * kHeight));
            else
                ASSERT_EQ(mask, RawCuts(picture, history)) << trial << " " << step;
            // The raw cuts took the library's graph: say so, as another selection would.
            Selection(picture, {.take_turns = true}).replace({{Line(1, 1, 2)}});
        }
    }
}

TEST(Selection, RefusesASecondOneUnlessBothTakeTurns) {
    const Frame picture = Picture();
    {
        Selection first(picture);
        EXPECT_THROW(Selection{picture}, BusyError);
        EXPECT_THROW(Selection(picture, {.take_turns = true}), BusyError);
        try {
            const Selection second(picture);
        } catch (const BusyError& error) {
            EXPECT_STREQ(error.what(),
                         "Selection: there is another one in this process, and the library has "
                         "room for one; end it, or let both take_turns");
        }
    }
    const Frame other = Picture(3);
    Selection first(picture, {.take_turns = true});
    Selection second(other, {.take_turns = true});
    EXPECT_THROW(Selection{picture}, BusyError);
    for (int i = 0; i < 3; ++i) {
        const Strokes strokes{Line(20 + 8 * i, 24, 40), Line(4 + i, 8, 88, Label::background)};
        first.add(strokes);
        second.add(strokes);
        EXPECT_EQ(Bytes(first.mask()), RawCuts(picture, first.history()));
        // That took the graph away under both; who cuts next finds it taken by the other.
        EXPECT_EQ(Bytes(second.mask()).size(), std::size_t(kWidth * kHeight));
        Selection(picture, {.take_turns = true}).replace({{Line(1, 1, 2)}});
        const auto mask = Bytes(second.mask());
        EXPECT_EQ(mask, RawCuts(other, second.history()));
        Selection(picture, {.take_turns = true}).replace({{Line(1, 1, 2)}});
    }
}

TEST(Selection, StaysAsItIsWhenItIsStopped) {
    bool isStopped = false;
    int asked = 0;
    Selection selection(Picture(), {.progress = [&](const Progress& inProgress) {
                            asked += inProgress.is_within ? 0 : 1;
                            return !isStopped || inProgress.done < 1;
                        }});
    selection.add({Line(32, 24, 40), Line(4, 8, 88, Label::background)});
    selection.add(Line(32, 70, 82));
    selection.add(Line(60, 70, 82, Label::background));
    EXPECT_EQ(asked, 3) << "each went on from the one before";
    const auto two = [&] {
        selection.undo();
        return Bytes(selection.mask());
    }();
    isStopped = true;
    EXPECT_THROW(selection.add(Line(50, 4, 8)), Cancelled);
    EXPECT_EQ(Bytes(selection.mask()), two);
    EXPECT_TRUE(selection.can_redo());
    isStopped = false;
    selection.add(Line(50, 4, 8));
    EXPECT_EQ(Bytes(selection.mask()), RawCuts(Picture(), selection.history()));
}

TEST(Selection, IsStoppedWithinACut) {
    bool isStopped = true;
    Selection selection(Picture(), {.progress = [&](const Progress& inProgress) {
                            EXPECT_GE(inProgress.part, 0.0);
                            EXPECT_LE(inProgress.part, 1.0);
                            return !(isStopped && inProgress.is_within);
                        }});
    const Strokes strokes{Line(32, 24, 40), Line(4, 8, 88, Label::background)};
    EXPECT_THROW(selection.add(strokes), Cancelled) << "a picture's first cut";
    EXPECT_TRUE(selection.history().empty());
    isStopped = false;
    selection.add(strokes);
    const auto before = Bytes(selection.mask());
    isStopped = true;
    EXPECT_THROW(selection.add(Line(50, 4, 8)), Cancelled) << "a further one";
    EXPECT_EQ(Bytes(selection.mask()), before);
    isStopped = false;
    selection.add(Line(60, 70, 82, Label::background));
    EXPECT_EQ(Bytes(selection.mask()), RawCuts(Picture(), selection.history()));
}

// It would wait for the very cut that asks it.
TEST(Selection, OfACallbackIsRefusedAndNotWaitedFor) {
    Selection other(Picture(3), {.take_turns = true});
    int asked = 0;
    Selection selection(Picture(), {.take_turns = true, .progress = [&](const Progress&) {
                                        ++asked;
                                        EXPECT_THROW(other.add(Line(32, 24, 40)), BusyError);
                                        EXPECT_THROW(Selection(Picture(), {.take_turns = true}),
                                                     BusyError);
                                        return true;
                                    }});
    selection.add({Line(32, 24, 40), Line(4, 8, 88, Label::background)});
    EXPECT_GE(asked, 1);
    other.add(Line(32, 24, 40));
    EXPECT_EQ(Bytes(other.mask()).size(), std::size_t(kWidth * kHeight));
}

TEST(Selection, KeepsAMaskThatSomebodyHolds) {
    Selection selection(Picture());
    selection.add({Line(32, 24, 40), Line(4, 8, 88, Label::background)});
    const Frame mask = selection.mask();
    const auto before = Bytes(mask);
    selection.add(Line(32, 70, 82));
    selection.undo();
    clear_caches();
    EXPECT_EQ(Bytes(mask), before);
}

TEST(StrokesJson, CarriesStrokesToTheBitAndToTheSameMask) {
    Selection selection(Picture(), {.take_turns = true});
    selection.add({{.path = {{32.1, 1.0 / 3.0}, {-7.25, 1e-17}}, .radius = 2.0 / 3.0},
                   Line(4, 8, 88, Label::background)});
    selection.add(Line(32, 70, 82));
    const std::string text = to_json(strokes_of(selection));
    const StrokeFile file = strokes_from_json(text);
    EXPECT_EQ(file, strokes_of(selection));
    EXPECT_EQ(to_json(file), text);
    Selection other(Picture(), {.take_turns = true});
    other.replace(file.history);
    EXPECT_EQ(Bytes(other.mask()), Bytes(selection.mask()));
}

TEST(StrokesJson, RefusesWhatIsNoSuchFile) {
    const std::string head =
        R"({"format":"descriptor-strokes","version":1,"width":9,"height":9,"cuts":)";
    EXPECT_NO_THROW(strokes_from_json(head + "[]}"));
    for (const std::string& text :
         {std::string(""), std::string("{}"), head, head + "[[]]}", head + "[[{}]]}",
          head + R"([[{"label":"both","radius":1,"path":[[1,1]]}]]})",
          head + R"([[{"label":"background","radius":1,"path":[[1]]}]]})",
          head + R"([[{"label":"background","radius":0,"path":[[1,1]]}]]})",
          head + R"([[{"label":"background","radius":1,"path":[["1",1]]}]]})",
          std::string(R"({"format":"descriptor-strokes","version":2,"width":9,"height":9,)"
                      R"("cuts":[]})")}) {
        try {
            strokes_from_json(text);
            ADD_FAILURE() << text;
        } catch (const ArgumentError& error) {
            EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
            EXPECT_EQ(error.argument().find(' '), std::string::npos) << "names come first";
        }
    }
}

// What was painted elsewhere comes as masks: the strokes made of them paint the same pixels,
// and so the cut is the same to the bit.
TEST(StrokeMasks, AreDrawnAgainToThePixelAndCutTheSame) {
    const Strokes drawn{{.path = {{22, 20}, {40, 31.3}, {30, 44}}, .radius = 3.7},
                        Line(60, 3, 92, Label::background),
                        {.path = {{31, 33}}, .radius = 2, .label = Label::background}};
    Strokes again;
    for (const Label label : {Label::foreground, Label::background})
        for (const Stroke& line :
             strokes_of_mask(mask_of(drawn, label, kWidth, kHeight), label))
            again.push_back(line);
    for (const Label label : {Label::foreground, Label::background})
        EXPECT_EQ(Bytes(mask_of(again, label, kWidth, kHeight)),
                  Bytes(mask_of(drawn, label, kWidth, kHeight)));
    EXPECT_EQ(std::ranges::max(Bytes(mask_of(drawn, Label::foreground, kWidth, kHeight))), 255);
    const Frame picture = Picture();
    const auto cut = [&](const Strokes& inStrokes) {
        Selection selection(picture);
        selection.add(inStrokes);
        return Bytes(selection.mask());
    };
    EXPECT_EQ(cut(again), cut(drawn));
    EXPECT_TRUE(strokes_of_mask(detail::frame_of(detail::StrokeImages(5, 3).mForeground, {}),
                                Label::foreground)
                    .empty());
    EXPECT_THROW(strokes_of_mask(picture, Label::foreground), ArgumentError);
}

// The outline, filled again by counting crossings, is the mask; and it is as short as it can
// be: no three points of it lie in a row.
TEST(Outline, GoesRoundEveryPixelOnce) {
    Random random(3);
    for (int trial = 0; trial < 40; ++trial) {
        const int width = random.Integer(1, 12);
        const int height = random.Integer(1, 12);
        std::vector<unsigned char> pixels(std::size_t(width * height));
        for (auto& pixel : pixels)
            pixel = random.Integer(0, 4) < 1 + trial % 4 ? 255 : 0;
        const auto lines = outline_of(FrameOf(pixels, width, height));
        std::vector<int> winding(pixels.size());
        for (const Polyline& line : lines)
            for (std::size_t i = 0; i < line.size(); ++i) {
                const Position& from = line[i];
                const Position& to = line[(i + 1) % line.size()];
                const Position& next = line[(i + 2) % line.size()];
                EXPECT_TRUE((from.x == to.x) != (from.y == to.y));
                EXPECT_NE(from.x == to.x, to.x == next.x) << "turns at each point";
                if (from.x != to.x) continue;
                for (int y = 0; y < height; ++y)
                    for (int x = 0; x < width; ++x)
                        if (x < from.x && y > std::min(from.y, to.y) &&
                            y < std::max(from.y, to.y))
                            winding[std::size_t(y * width + x)] += to.y > from.y ? 1 : -1;
            }
        for (std::size_t i = 0; i < pixels.size(); ++i)
            ASSERT_EQ(winding[i], pixels[i] ? 1 : 0) << trial;
    }
}

TEST(Outline, IsAnSvgPath) {
    const std::vector<unsigned char> pixels{0, 255, 255, 0, 0, 255};
    const auto lines = outline_of(FrameOf(pixels, 3, 2));
    EXPECT_EQ(svg_path(lines), "M1 0L3 0L3 2L2 2L2 1L1 1Z");
    EXPECT_EQ(
        to_svg(lines, 3, 2),
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"3\" height=\"2\" viewBox=\"0 0 3 "
        "2\"><path fill-rule=\"evenodd\" d=\"M1 0L3 0L3 2L2 2L2 1L1 1Z\"/></svg>\n");
}

}  // namespace
