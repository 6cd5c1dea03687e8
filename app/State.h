#pragma once

#include <QQmlEngine>

#include <memory>
#include <utility>

namespace harbor {

/// Makes the state object of a screen. It belongs to C++: QML only looks at it, and it goes one event after
/// its last owner has let go, so that no binding meets a dead object. A task of the screen owns it too.
template <class View, class... Arguments>
std::shared_ptr<View> makeState(Arguments&&... arguments)
{
    std::shared_ptr<View> state(
        new View(std::forward<Arguments>(arguments)...), [](View* view) { view->deleteLater(); });
    QQmlEngine::setObjectOwnership(state.get(), QQmlEngine::CppOwnership);
    return state;
}

}  // namespace harbor
