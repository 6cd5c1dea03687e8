#include "tests/app/WindowTest.h"

#include "app/Appearance.h"

#include <QAccessible>
#include <QTest>

namespace harbor {

QList<QQuickItem*> visibleItems(QQuickItem* item)
{
    if (!item->isVisible())
        return {};
    QList<QQuickItem*> items { item };
    for (auto* const child : item->childItems())
        items += visibleItems(child);
    return items;
}

WindowDriver::WindowDriver(std::shared_ptr<AppState> app, QString const& placeFile)
    : app_(std::move(app))
{
    Appearance::shared().setAnimated(false);
    main_ = std::make_unique<MainWindow>(app_, placeFile);
}

WindowDriver::~WindowDriver()
{
    main_.reset();
    runEvents();
}

bool WindowDriver::load(QSize size)
{
    if (!main_->load())
        return false;
    window()->resize(size);
    window()->requestActivate();
    return QTest::qWaitForWindowExposed(window());
}

QQuickItem* WindowDriver::find(QString const& name, QQuickWindow* in) const
{
    for (auto* const item : visibleItems((in ? in : window())->contentItem())) {
        if (item->objectName() == name)
            return item;
    }
    return nullptr;
}

QString WindowDriver::textOf(char const* name) const
{
    auto const* item = find(QString::fromUtf8(name));
    if (!item)
        return QStringLiteral("(not shown)");
    for (auto const* property : { "message", "title", "text" }) {
        if (auto const value = item->property(property); value.isValid())
            return value.toString();
    }
    return {};
}

namespace {

void scrollIntoView(QQuickItem* item)
{
    for (auto* parent = item->parentItem(); parent; parent = parent->parentItem()) {
        if (!parent->inherits("QQuickFlickable"))
            continue;
        auto* const content = parent->property("contentItem").value<QQuickItem*>();
        auto const top = item->mapToItem(content, QPointF()).y();
        auto const farthest = std::max(0.0, parent->property("contentHeight").toReal() - parent->height());
        auto const shown = parent->property("contentY").toReal();
        if (top < shown || top + item->height() > shown + parent->height())
            parent->setProperty("contentY", std::clamp(top - parent->height() / 2, 0.0, farthest));
    }
}

}  // namespace

void WindowDriver::click(char const* name, QQuickWindow* in)
{
    auto* const item = find(QString::fromUtf8(name), in);
    ASSERT_TRUE(item) << name;
    // Drawing lays out what has just come up, before and after it is moved.
    item->window()->grabWindow();
    scrollIntoView(item);
    item->window()->grabWindow();
    auto const center = item->mapToScene({ item->width() / 2, item->height() / 2 }).toPoint();
    QTest::mouseClick(item->window(), Qt::LeftButton, {}, center);
    runEvents();
}

void WindowDriver::press(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QTest::keyClick(window(), key, modifiers);
    runEvents();
}

void WindowDriver::type(char const* text)
{
    for (auto const letter : QString::fromUtf8(text))
        QTest::keyClick(window(), letter.toLatin1());
    runEvents();
}

QString WindowDriver::focusedName() const
{
    auto const* item = window()->activeFocusItem();
    return item ? item->objectName() : QString();
}

WindowTest::~WindowTest() = default;

void WindowTest::TearDown() { EXPECT_THAT(takeWarnings(), testing::IsEmpty()); }

void WindowTest::open(QSize size)
{
    driver_ = std::make_unique<WindowDriver>(app, toQt(home.path() + "/window.ini"));
    ASSERT_TRUE(driver_->load(size));
    ASSERT_TRUE(QTest::qWaitForWindowActive(window()));
    ASSERT_TRUE(waitUntil([this] { return desktop.sleeps > 0; }));
}

QList<QQuickItem*> WindowTest::textItems()
{
    QList<QQuickItem*> texts;
    for (auto* const item : visibleItems(window()->contentItem())) {
        if (item->inherits("QQuickText") || item->inherits("QQuickTextEdit"))
            texts.append(item);
    }
    return texts;
}

void WindowTest::walkTexts()
{
    // Constants of ours with markup; what the guard puts into its own is escaped.
    QStringList const ours { QStringLiteral("wpcli.hint"), QStringLiteral("config.hint"),
        QStringLiteral("guard.prompt") };
    for (auto* const item : textItems()) {
        if (ours.contains(item->objectName()) || item->inherits("QQuickPlaceholderText"))
            continue;
        EXPECT_EQ(item->property("textFormat").toInt(), Qt::PlainText)
            << qPrintable(item->property("text").toString());
    }
}

void WindowTest::walkControls()
{
    for (auto* const item : visibleItems(window()->contentItem())) {
        auto const isControl = item->inherits("QQuickAbstractButton") || item->inherits("QQuickTextField")
            || item->inherits("QQuickComboBox");
        if (!isControl || !item->isEnabled())
            continue;
        auto* const accessible = QAccessible::queryAccessibleInterface(item);
        ASSERT_TRUE(accessible);
        EXPECT_FALSE(accessible->text(QAccessible::Name).isEmpty())
            << item->metaObject()->className() << " " << qPrintable(item->objectName());
    }
}

void WindowTest::walkClipping()
{
    for (auto* const item : textItems()) {
        if (!item->inherits("QQuickText") || item->property("elide").toInt() != Qt::ElideNone
            || item->property("wrapMode").toInt() != 0 || item->width() == 0)
            continue;
        EXPECT_LE(item->implicitWidth(), item->width() + 1) << qPrintable(item->property("text").toString());
    }
}

QStringList WindowTest::tabOrder(int most)
{
    QStringList names;
    for (int i = 0; i < most; ++i) {
        press(Qt::Key_Tab);
        auto const name = focusedName();
        if (names.contains(name))
            break;
        names.append(name);
    }
    return names;
}

}  // namespace harbor
