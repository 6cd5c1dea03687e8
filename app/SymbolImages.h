#pragma once

#include <QColor>
#include <QImage>
#include <QQuickImageProvider>
#include <QStringList>

namespace harbor {

/// Draws the symbols of the screens, by their names in the design ("arrow.clockwise"), from the icon theme
/// "breeze". Line art takes the colour that is asked for; coloured art stays as it is. QML asks through the
/// component `Symbol`: "image://symbol/<name>/<rrggbb>".
class SymbolImages : public QQuickImageProvider {
public:
    SymbolImages()
        : QQuickImageProvider(QQuickImageProvider::Image)
    {
    }
    QImage requestImage(QString const& id, QSize* size, QSize const& requestedSize) override;

    /// A symbol of `size` device pixels each way. An unknown name gives an empty image.
    static QImage draw(QString const& name, QColor const& color, int size);
    static QStringList names();
};

}  // namespace harbor
