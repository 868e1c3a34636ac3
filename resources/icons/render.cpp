// Renders the drawings into the PNG files that are kept beside them. Run once after a drawing has changed:
//   cmake --build build/debug --target render_icons && build/debug/src/widgets/render_icons resources/icons
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <QTextStream>

static bool render(const QString& drawing, const QString& picture, int size) {
    QSvgRenderer renderer(drawing);
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.render(&painter);
    painter.end();
    const bool written = renderer.isValid() && image.save(picture);
    if (!written) QTextStream(stderr) << "cannot render " << drawing << " as " << picture << '\n';
    return written;
}

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const QString folder = application.arguments().value(1, QStringLiteral("."));
    bool good = true;

    for (const int size : {16, 24, 32, 48, 64, 128, 256, 512}) {
        good &= render(folder + QStringLiteral("/orlendo.svg"),
                       folder + QStringLiteral("/app/orlendo-%1.png").arg(size), size);
    }
    QFile list(folder + QStringLiteral("/models/models.txt"));
    if (!list.open(QIODevice::ReadOnly)) return 1;
    QTextStream lines(&list);
    for (QString line; lines.readLineInto(&line);) {
        const QStringList words = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (words.size() != 2 || line.startsWith(QLatin1Char('#'))) continue;
        good &= render(folder + QStringLiteral("/models/drawings/%1.svg").arg(words.at(1)),
                       folder + QStringLiteral("/models/%1.png").arg(words.at(0)), 256);
    }
    return good ? 0 : 1;
}
