#pragma once

#include "app/MainWindow.h"
#include "tests/app/AppTest.h"

#include <QQuickItem>
#include <QQuickWindow>

#include <memory>

namespace harbor {

/// The real main window over a state, driven by keys and clicks.
class WindowDriver {
public:
    WindowDriver(std::shared_ptr<AppState> app, QString const& placeFile);
    ~WindowDriver();

    /// Loads the window and gives it the keys.
    bool load(QSize size);

    AppState& app() const { return *app_; }
    QQuickWindow* window() const { return main_->window(); }
    ContentView& content() { return main_->content(); }
    MainWindow& mainWindow() { return *main_; }

    /// The visible item of that name; null when there is none.
    QQuickItem* find(QString const& name, QQuickWindow* in = nullptr) const;
    bool isShown(char const* name) const { return find(QString::fromUtf8(name)) != nullptr; }
    QString textOf(char const* name) const;
    /// Scrolls the item into view and presses it.
    void click(char const* name, QQuickWindow* in = nullptr);
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {});
    void type(char const* text);
    QString focusedName() const;

private:
    std::shared_ptr<AppState> app_;
    std::unique_ptr<MainWindow> main_;
};

/// The window over the state of the test. A warning of Qt or QML fails the test.
class WindowTest : public AppTest {
protected:
    ~WindowTest() override;
    void TearDown() override;

    /// Loads the window and waits until Docker was asked.
    void open(QSize size = { 1100, 900 });

    QQuickWindow* window() const { return driver_->window(); }
    ContentView& content() { return driver_->content(); }
    MainWindow& mainWindow() { return driver_->mainWindow(); }
    QQuickItem* find(QString const& name, QQuickWindow* in = nullptr) const
    {
        return driver_->find(name, in);
    }
    bool isShown(char const* name) const { return driver_->isShown(name); }
    QString textOf(char const* name) const { return driver_->textOf(name); }
    void click(char const* name, QQuickWindow* in = nullptr) { driver_->click(name, in); }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) { driver_->press(key, modifiers); }
    void type(char const* text) { driver_->type(text); }
    QString focusedName() const { return driver_->focusedName(); }

    /// Every text is plain, but for three constants of ours.
    void walkTexts();
    /// Every control that is enabled has an accessible name.
    void walkControls();
    /// Texts that neither wrap nor elide fit into what holds them.
    void walkClipping();
    /// The names of the controls that Tab visits, until one comes again.
    QStringList tabOrder(int most);

private:
    /// The items that draw a text.
    QList<QQuickItem*> textItems();

    std::unique_ptr<WindowDriver> driver_;
};

/// Every visible item below and including `item`.
QList<QQuickItem*> visibleItems(QQuickItem* item);

}  // namespace harbor
