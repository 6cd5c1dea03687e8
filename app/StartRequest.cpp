#include "app/StartRequest.h"

#include <QFileInfo>
#include <QUrl>

namespace harbor {

namespace {

using Kind = StartRequest::Kind;

QString const newSiteLine = QStringLiteral("new-site");
QString const importLine = QStringLiteral("import");

QString const usage
    = QStringLiteral("Usage: tallowick-harbor [--new-site | --import | FILE]\n"
                     "\n"
                     "  FILE        an export package (.twkb.zip), which the import sheet opens with\n"
                     "  --new-site  opens the sheet that makes a site\n"
                     "  --import    opens the import sheet\n"
                     "  --version   prints the version\n"
                     "  --help      prints this text\n");

StartWords begin(Kind kind, QString const& package = {})
{
    return { .request = { kind, package }, .output = {}, .isOver = false, .hasFailed = false };
}

StartWords end(QString const& output, bool hasFailed = false)
{
    return { .request = {}, .output = output, .isOver = true, .hasFailed = hasFailed };
}

StartWords refuse(QString const& reason)
{
    return end(QStringLiteral("tallowick-harbor: ") + reason + QLatin1Char('\n'), true);
}

StartWords importOf(QString const& word)
{
    auto const isAddress = word.startsWith(QLatin1String("file:"));
    QFileInfo const file(isAddress ? QUrl(word).toLocalFile() : word);
    if (!file.isFile())
        return refuse(QStringLiteral("There is no file ") + word);
    if (!file.isReadable())
        return refuse(QStringLiteral("The file cannot be read: ") + word);
    return begin(Kind::importPackage, file.absoluteFilePath());
}

}  // namespace

QString StartRequest::line() const
{
    if (kind == Kind::newSite)
        return newSiteLine;
    if (kind == Kind::importPackage)
        return package.isEmpty() ? importLine : QString::fromLatin1(QUrl::fromLocalFile(package).toEncoded());
    return {};
}

StartRequest StartRequest::fromLine(QString const& line)
{
    if (line == newSiteLine)
        return { Kind::newSite, {} };
    if (line == importLine)
        return { Kind::importPackage, {} };
    QUrl const file(line);
    if (file.isLocalFile())
        return { Kind::importPackage, file.toLocalFile() };
    return {};
}

StartWords readStartWords(QStringList const& words)
{
    if (words.isEmpty())
        return {};
    auto const word = words.first();
    if (words.size() > 1)
        return refuse(QStringLiteral("Only one package can be opened at a time.\n") + usage);
    if (word == QLatin1String("--help") || word == QLatin1String("-h"))
        return end(usage);
    if (word == QLatin1String("--version"))
        return end(QStringLiteral("tallowick-harbor " HARBOR_VERSION "\n"));
    if (word == QLatin1String("--new-site"))
        return begin(Kind::newSite);
    if (word == QLatin1String("--import"))
        return begin(Kind::importPackage);
    if (word.startsWith(QLatin1Char('-')))
        return refuse(QStringLiteral("There is no option ") + word + QLatin1Char('\n') + usage);
    return importOf(word);
}

}  // namespace harbor
