// Draws the application's SVG icon into PNG files of the sizes a desktop looks for.
// Usage: icon_png ICON.svg OUTPUT_FOLDER SIZE...  (writes OUTPUT_FOLDER/SIZExSIZE.png)
#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

int main(int argc, char** argv) {
  QGuiApplication app(argc, argv);
  if (argc < 4) {
    std::fprintf(stderr, "usage: icon_png ICON.svg OUTPUT_FOLDER SIZE...\n");
    return 2;
  }
  QSvgRenderer svg(QString::fromLocal8Bit(argv[1]));
  if (!svg.isValid()) {
    std::fprintf(stderr, "icon_png: cannot read %s\n", argv[1]);
    return 1;
  }
  const QDir folder(QString::fromLocal8Bit(argv[2]));
  for (int i = 3; i < argc; ++i) {
    const int size = QString::fromLocal8Bit(argv[i]).toInt();
    if (size <= 0) {
      std::fprintf(stderr, "icon_png: bad size %s\n", argv[i]);
      return 2;
    }
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    svg.render(&painter, QRectF(0, 0, size, size));
    painter.end();
    const QString file = folder.filePath(QString("%1x%1.png").arg(size));
    if (!image.save(file, "PNG")) {
      std::fprintf(stderr, "icon_png: cannot write %s\n", qPrintable(file));
      return 1;
    }
  }
  return 0;
}
