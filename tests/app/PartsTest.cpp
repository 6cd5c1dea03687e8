#include "app/LineModel.h"
#include "app/QtMainThread.h"
#include "app/RowModel.h"
#include "app/SingleInstance.h"
#include "app/SymbolImages.h"
#include "app/Texts.h"
#include "app/WindowPlace.h"
#include "tests/app/AppTest.h"

#include <QApplication>
#include <QIcon>
#include <QSignalSpy>

#include <cstdlib>

using testing::ElementsAre;
using testing::IsEmpty;

namespace harbor {

namespace {

QList<ModelRow> rowsOf(QStringList const& texts)
{
    QList<ModelRow> rows;
    for (auto const& text : texts)
        rows.append({ text.left(1), text });  // The first letter is the key.
    return rows;
}

QStringList textsOf(RowModel const& model)
{
    QStringList texts;
    for (int i = 0; i < model.count(); ++i)
        texts.append(model.at(i).toString());
    return texts;
}

QString text(char const* words) { return QString::fromUtf8(words); }

}  // namespace

// A status poll may be on its way when the window closes: its end is then posted while Qt clears up.
TEST(QtMainThreadDeathTest, aProgramEndsWithWorkThatNeverRan)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    auto const endWithWorkWaiting = [] {
        start([]() -> awaitable<void> { co_return; }());
        qApp->~QApplication();
        std::_Exit(0);
    };
    EXPECT_EXIT(endWithWorkWaiting(), testing::ExitedWithCode(0), "");
}

struct AssignCase {
    std::string behaviour;
    QString before;
    QString after;
    int inserts, removes, moves, changes;
};

class RowModelAssign : public testing::TestWithParam<AssignCase> { };

TEST_P(RowModelAssign, changesOnlyWhatDiffers)
{
    auto const list = [](QString const& words) { return words.split(QLatin1Char(' '), Qt::SkipEmptyParts); };
    RowModel model;
    model.assign(rowsOf(list(GetParam().before)));
    QSignalSpy const inserts(&model, &RowModel::rowsInserted);
    QSignalSpy const removes(&model, &RowModel::rowsRemoved);
    QSignalSpy const moves(&model, &RowModel::rowsMoved);
    QSignalSpy const changes(&model, &RowModel::dataChanged);
    QSignalSpy const resets(&model, &RowModel::modelReset);

    model.assign(rowsOf(list(GetParam().after)));

    EXPECT_EQ(textsOf(model), list(GetParam().after));
    EXPECT_EQ(inserts.count(), GetParam().inserts);
    EXPECT_EQ(removes.count(), GetParam().removes);
    EXPECT_EQ(moves.count(), GetParam().moves);
    EXPECT_EQ(changes.count(), GetParam().changes);
    EXPECT_EQ(resets.count(), 0);
}

INSTANTIATE_TEST_SUITE_P(Cases, RowModelAssign,
    testing::Values(AssignCase { "equalListsChangeNothing", text("a b c"), text("a b c"), 0, 0, 0, 0 },
        AssignCase { "aNewRowIsInserted", text("a c"), text("a b c"), 1, 0, 0, 0 },
        AssignCase { "neighboursGoInOneStep", text("a b c d"), text("a d"), 0, 1, 0, 0 },
        AssignCase { "aRowOfTheSameKeyChangesInPlace", text("a1 b c"), text("a2 b c"), 0, 0, 0, 1 },
        AssignCase { "aRowThatMovedUpIsMoved", text("a b c"), text("c a b"), 0, 0, 1, 0 },
        AssignCase { "everythingNewReplacesAll", text("a b"), text("c d"), 2, 1, 0, 0 },
        AssignCase { "emptyRemovesAll", text("a b"), text(""), 0, 1, 0, 0 }),
    [](auto const& test) { return test.param.behaviour; });

TEST(RowModel, appendDropsTheOldestAboveTheCap)
{
    RowModel model;
    model.append({ text("1"), text("2"), text("3") }, 4);
    model.append({ text("4"), text("5") }, 4);
    EXPECT_EQ(textsOf(model), QStringList({ text("2"), text("3"), text("4"), text("5") }));
}

TEST(RowModel, aChunkAboveTheCapKeepsItsEnd)
{
    RowModel model;
    model.append({ text("1"), text("2"), text("3") }, 2);
    EXPECT_EQ(textsOf(model), QStringList({ text("2"), text("3") }));
}

TEST(RowModel, appendTellsOnceForEachChunk)
{
    RowModel model;
    QSignalSpy const inserts(&model, &RowModel::rowsInserted);
    model.append({ text("1"), text("2"), text("3") }, 10);
    EXPECT_EQ(inserts.count(), 1);
}

TEST(LineModel, partsStandBelowEachOtherWithTheirTone)
{
    LineModel model;
    model.show({ { "one\n\ntwo", {} }, { "three", text("error") } });
    ASSERT_EQ(model.count(), 4);
    EXPECT_EQ(model.at(1).value<LogLine>(), (LogLine { {}, {} }));
    EXPECT_EQ(model.at(2).value<LogLine>(), (LogLine { text("two"), {} }));
    EXPECT_EQ(model.at(3).value<LogLine>(), (LogLine { text("three"), text("error") }));
}

TEST(LineModel, aLongLineBreaksBetweenCharacters)
{
    std::string line;
    for (int i = 0; i < 3000; ++i)
        line += "ä";
    LineModel model;
    model.show({ { line, {} } });
    ASSERT_EQ(model.count(), 2);
    auto const whole = model.at(0).value<LogLine>().text + model.at(1).value<LogLine>().text;
    EXPECT_EQ(whole, QString(3000, QChar(0xE4)));
}

TEST(LineModel, fiftyMegabytesBecomeRowsWhenLookedAt)
{
    std::string output;
    while (output.size() < 50'000'000)
        output += "a line of a command that says far too much\n";
    LineModel model;
    model.show({ { std::move(output), {} } });
    EXPECT_EQ(model.count(), 1'162'791);
    EXPECT_EQ(model.at(1'162'790).value<LogLine>().text, text("a line of a command that says far too much"));
}

TEST(Texts, whatHappenedSinceTheLastTickIsNotInTheFuture)
{
    Texts const texts;
    EXPECT_EQ(texts.relative(5'000, 4'200), QStringLiteral("0 seconds ago"));
    EXPECT_EQ(texts.relative(5'000, 2'000), QStringLiteral("in 3 seconds"));
}

TEST(Texts, displayLinesHaveNoControlSequences)
{
    Texts const texts;
    EXPECT_EQ(texts.displayLine(text("\x1B[2K\x1B[1;31mred\x1B[0m\r")), text("red"));
    EXPECT_EQ(texts.displayLine(text("\x1B]0;title\x07"
                                     "rest")),
        text("rest"));
    EXPECT_EQ(texts.displayLine(text("a\tb")), text("a       b"));
    EXPECT_EQ(texts.displayLine(text("12345678\tb")), text("12345678        b"));
    EXPECT_EQ(texts.displayLine(text("<b>kept</b> & plain")), text("<b>kept</b> & plain"));
    EXPECT_EQ(texts.displayLine(QString(70'000, QLatin1Char('x'))).size(), 4097);
}

TEST(WindowPlace, comesBackWhereItWasLeft)
{
    TemporaryHome const home;
    auto const file = toQt(home.path() + "/window.ini");
    EXPECT_FALSE(WindowPlace(file).known());
    EXPECT_EQ(WindowPlace(file).frame().size(), WindowPlace::usual);

    // The screen of the test platform is 800 by 800, smaller than any window here.
    WindowPlace(file).remember(QRect(5000, -300, 950, 650), false, 300);

    WindowPlace const place(file);
    EXPECT_TRUE(place.known());
    EXPECT_EQ(place.sidebarWidth(), 300);
    EXPECT_EQ(place.frame().topLeft(), QPoint(0, 0));
}

TEST(WindowPlace, aMaximizedWindowKeepsTheFrameOfBefore)
{
    TemporaryHome const home;
    auto const file = toQt(home.path() + "/window.ini");
    WindowPlace(file).remember(QRect(0, 0, 950, 650), false, 300);
    auto const before = WindowPlace(file).frame();
    WindowPlace(file).remember(QRect(0, 0, 5000, 4000), true, 300);
    EXPECT_TRUE(WindowPlace(file).maximized());
    EXPECT_EQ(WindowPlace(file).frame(), before);
}

TEST(WindowPlace, framesArePulledOntoTheScreen)
{
    QRect const screen(0, 0, 1920, 1080);
    EXPECT_EQ(WindowPlace::fitted({ 100, 100, 1000, 700 }, screen), QRect(100, 100, 1000, 700));
    EXPECT_EQ(WindowPlace::fitted({ 1900, 1000, 1000, 700 }, screen), QRect(920, 380, 1000, 700));
    EXPECT_EQ(WindowPlace::fitted({ -500, -50, 100, 100 }, screen), QRect(0, 0, 900, 600));
    EXPECT_EQ(WindowPlace::fitted({ 0, 0, 4000, 3000 }, screen), screen);
}

TEST(SingleInstance, aSecondStartHandsItsFileToTheFirst)
{
    TemporaryHome const home;
    SingleInstance first(toQt(home.path()));
    SingleInstance second(toQt(home.path()));
    QStringList files;
    QObject::connect(&first, &SingleInstance::activated, [&](QString const& file) { files.append(file); });

    ASSERT_TRUE(first.claim({}));
    EXPECT_FALSE(second.claim(text("/tmp/a b.twkb.zip")));

    EXPECT_TRUE(waitUntil([&] { return !files.isEmpty(); }));
    EXPECT_EQ(files, QStringList({ text("/tmp/a b.twkb.zip") }));
}

TEST(SingleInstance, theNextStartAfterTheFirstHasEndedIsFirst)
{
    TemporaryHome const home;
    {
        SingleInstance first(toQt(home.path()));
        ASSERT_TRUE(first.claim({}));
    }
    SingleInstance next(toQt(home.path()));
    EXPECT_TRUE(next.claim({}));
}

class Symbols : public testing::TestWithParam<QString> { };

TEST_P(Symbols, areDrawnWithContrastOnBothGrounds)
{
    for (auto const& [ink, ground] : { std::pair(0x1C2128, 0xFFFFFF), std::pair(0xE8EBF0, 0x242830) }) {
        auto const image = SymbolImages::draw(GetParam(), QColor(QRgb(ink)), 32);
        ASSERT_EQ(image.size(), QSize(32, 32));
        auto const luminance = [](QColor const& color) {
            auto const linear = [](double part) {
                return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
            };
            return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF())
                + 0.0722 * linear(color.blueF());
        };
        auto visible = 0;
        for (int y = 0; y < 32; ++y) {
            for (int x = 0; x < 32; ++x) {
                auto const color = image.pixelColor(x, y);
                auto const light = luminance(color);
                auto const behind = luminance(QColor(QRgb(ground)));
                auto const contrast = (std::max(light, behind) + 0.05) / (std::min(light, behind) + 0.05);
                if (color.alpha() > 200 && contrast > 2.0)
                    ++visible;
            }
        }
        EXPECT_GE(visible, 10) << qPrintable(GetParam()) << " on " << std::hex << ground;
    }
}

INSTANTIATE_TEST_SUITE_P(All, Symbols, testing::ValuesIn([] {
    auto names = SymbolImages::names();
    names << text("1.circle") << text("4.circle");
    return std::vector<QString>(names.begin(), names.end());
}()),
    [](auto const& test) {
        auto name = test.param;
        return name.replace(QLatin1Char('.'), QLatin1Char('_'))
            .prepend(QLatin1String("symbol_"))
            .toStdString();
    });

TEST(SymbolImages, anUnknownNameIsEmpty)
{
    EXPECT_EQ(SymbolImages::draw(text("no such symbol"), Qt::black, 16).pixelColor(8, 8).alpha(), 0);
}

}  // namespace harbor
