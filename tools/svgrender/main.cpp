// orrery-svgrender INPUT.svg OUTPUT.png WIDTHxHEIGHT [INPUT OUTPUT SIZE ...]
//
// Renders each SVG to a PNG of the given size with a transparent background.
#include <QBuffer>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

namespace {

QSize parseSize(const QString &text)
{
    const QStringList parts = text.split(QLatin1Char('x'));
    if (parts.size() != 2)
        return {};
    bool okWidth = false, okHeight = false;
    const QSize size(parts.at(0).toInt(&okWidth), parts.at(1).toInt(&okHeight));
    return okWidth && okHeight && size.width() > 0 && size.height() > 0 && size.width() <= 4096 &&
                   size.height() <= 4096
               ? size
               : QSize();
}

bool render(const QString &input, const QString &output, const QSize &size)
{
    QSvgRenderer renderer(input);
    if (!renderer.isValid()) {
        std::fprintf(stderr, "orrery-svgrender: cannot read %s\n", qPrintable(input));
        return false;
    }
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter);
    painter.end();

    QByteArray png;
    {
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, "PNG");
    }
    QFile file(output);
    if (!file.open(QIODevice::WriteOnly) || file.write(png) != png.size()) {
        std::fprintf(stderr, "orrery-svgrender: cannot write %s\n", qPrintable(output));
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    if (args.isEmpty() || args.size() % 3 != 0) {
        std::fprintf(stderr, "usage: orrery-svgrender INPUT.svg OUTPUT.png WIDTHxHEIGHT ...\n");
        return 2;
    }
    for (int i = 0; i < args.size(); i += 3) {
        const QSize size = parseSize(args.at(i + 2));
        if (!size.isValid()) {
            std::fprintf(stderr, "orrery-svgrender: bad size %s\n", qPrintable(args.at(i + 2)));
            return 2;
        }
        if (!render(args.at(i), args.at(i + 1), size))
            return 1;
    }
    return 0;
}
