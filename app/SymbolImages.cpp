#include "app/SymbolImages.h"

#include <QHash>
#include <QIcon>
#include <QPainter>

namespace harbor {

namespace {

struct Art {
    char const* icon;
    bool tinted = true;
    int size = 22;  ///< The theme draws one name differently at different sizes.
};

QHash<QString, Art> const& table()
{
    static QHash<QString, Art> const symbols {
        { QStringLiteral("arrow.clockwise"), { "view-refresh" } },
        { QStringLiteral("arrow.counterclockwise.circle"), { "backup" } },
        { QStringLiteral("arrow.down.circle"), { "download" } },
        { QStringLiteral("arrow.down.circle.pull"), { "vcs-pull" } },
        { QStringLiteral("arrow.up.circle"), { "vcs-push" } },
        { QStringLiteral("arrow.down.circle.fill"), { "cloud-download" } },
        { QStringLiteral("arrow.up.circle.fill"), { "cloud-upload" } },
        { QStringLiteral("arrow.triangle.2.circlepath"), { "edit-clear-all" } },
        { QStringLiteral("arrow.triangle.branch"), { "vcs-branch" } },
        { QStringLiteral("checkmark.circle.fill"), { "emblem-success", false } },
        { QStringLiteral("xmark.circle.fill"), { "emblem-error", false } },
        { QStringLiteral("exclamationmark.triangle.fill"), { "emblem-warning", false } },
        { QStringLiteral("warning"), { "emblem-warning", false } },
        { QStringLiteral("exclamationmark.octagon.fill"), { "dialog-error", false, 64 } },
        { QStringLiteral("exclamationmark.shield.fill"), { "security-low", false } },
        { QStringLiteral("lock.shield.fill"), { "security-high", false } },
        { QStringLiteral("shield.slash"), { "security-low-symbolic" } },
        { QStringLiteral("info.circle"), { "help-about" } },
        { QStringLiteral("circle"), { "task-process-0" } },
        { QStringLiteral("chevron.down"), { "arrow-down" } },
        { QStringLiteral("chevron.right"), { "arrow-right" } },
        { QStringLiteral("chevron.left.forwardslash.chevron.right"), { "format-text-code" } },
        { QStringLiteral("clock.arrow.circlepath"), { "view-history" } },
        { QStringLiteral("doc.on.doc"), { "edit-copy" } },
        { QStringLiteral("doc.zipper"), { "application-zip" } },
        { QStringLiteral("folder"), { "folder-symbolic" } },
        { QStringLiteral("gearshape"), { "settings-configure" } },
        { QStringLiteral("globe"), { "globe" } },
        { QStringLiteral("globe.desk"), { "internet-services" } },
        { QStringLiteral("laptopcomputer"), { "computer-laptop" } },
        { QStringLiteral("link"), { "link" } },
        { QStringLiteral("macwindow"), { "window" } },
        { QStringLiteral("paintbrush"), { "draw-brush" } },
        { QStringLiteral("pause.fill"), { "media-playback-pause" } },
        { QStringLiteral("play.fill"), { "media-playback-start" } },
        { QStringLiteral("stop.fill"), { "media-playback-stop" } },
        { QStringLiteral("person.2"), { "group" } },
        { QStringLiteral("plus"), { "list-add" } },
        { QStringLiteral("power"), { "system-shutdown" } },
        { QStringLiteral("puzzlepiece"), { "plugins" } },
        { QStringLiteral("shippingbox"), { "package" } },
        { QStringLiteral("square.and.arrow.down"), { "document-import" } },
        { QStringLiteral("trash"), { "trash-empty" } },
    };
    return symbols;
}

QImage emptyImage(int size)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

/// "1.circle" to "9.circle": a ring with the digit, which the theme does not have.
QImage drawRing(QString const& digit, QColor const& color, int size)
{
    auto image = emptyImage(size);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    auto const line = size / 14.0;
    painter.setPen(QPen(color, line));
    painter.drawEllipse(QRectF(line, line, size - 2 * line, size - 2 * line));
    QFont font;
    font.setPixelSize(std::max(1, size * 11 / 20));
    font.setBold(true);
    painter.setFont(font);
    painter.drawText(image.rect(), Qt::AlignCenter, digit);
    return image;
}

QImage drawArt(Art const& art, QColor const& color, int size)
{
    auto const scale = std::max(1, (2 * size + art.size - 1) / art.size);
    auto const icon = QIcon::fromTheme(QLatin1String(art.icon));
    auto image = icon.pixmap(QSize(art.size, art.size), scale).toImage();
    if (image.isNull())
        return emptyImage(size);
    image.setDevicePixelRatio(1);
    image = image.scaled(size, size, Qt::KeepAspectRatio, Qt::SmoothTransformation)
                .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    if (art.tinted) {
        QPainter painter(&image);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(image.rect(), color);
    }
    return image;
}

}  // namespace

QImage SymbolImages::requestImage(QString const& id, QSize* size, QSize const& requestedSize)
{
    auto const color = QColor(QLatin1Char('#') + id.section(QLatin1Char('/'), 1));
    auto const image = draw(id.section(QLatin1Char('/'), 0, 0), color, std::max(1, requestedSize.width()));
    *size = image.size();
    return image;
}

QImage SymbolImages::draw(QString const& name, QColor const& color, int size)
{
    if (name.endsWith(QLatin1String(".circle")) && name.at(0).isDigit())
        return drawRing(name.left(1), color, size);
    auto const found = table().constFind(name);
    return found == table().constEnd() ? emptyImage(size) : drawArt(*found, color, size);
}

QStringList SymbolImages::names() { return table().keys(); }

}  // namespace harbor
