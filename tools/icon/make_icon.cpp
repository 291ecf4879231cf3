// velmora-icon <file.png>
//
// Draws the product icon: a white cloud with a sync arrow on a blue rounded square. Only
// shapes, no text, so it needs neither fonts nor a display.

#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

#include <cmath>
#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: velmora-icon <file.png>\n");
        return 2;
    }
    const int size = 72;
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);

    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);

    QLinearGradient sky(0, 0, 0, size);
    sky.setColorAt(0, QColor(0x3d, 0x9b, 0xe9));
    sky.setColorAt(1, QColor(0x1a, 0x5f, 0xb4));
    p.setPen(Qt::NoPen);
    p.setBrush(sky);
    p.drawRoundedRect(QRectF(2, 2, size - 4, size - 4), 14, 14);

    QPainterPath cloud;
    cloud.setFillRule(Qt::WindingFill);
    cloud.addEllipse(QRectF(12, 30, 22, 22));
    cloud.addEllipse(QRectF(22, 18, 28, 28));
    cloud.addEllipse(QRectF(38, 28, 22, 22));
    cloud.addRoundedRect(QRectF(20, 38, 32, 14), 7, 7);
    p.setBrush(Qt::white);
    p.drawPath(cloud.simplified());

    // A circular arrow on the cloud: the client keeps folders in step.
    const QColor blue(0x1a, 0x5f, 0xb4);
    const QPointF centre(36, 36);
    const double radius = 8, start = 60, span = 270;
    p.setPen(QPen(blue, 3.5, Qt::SolidLine, Qt::RoundCap));
    p.setBrush(Qt::NoBrush);
    p.drawArc(QRectF(centre.x() - radius, centre.y() - radius, 2 * radius, 2 * radius), int(start * 16),
              int(span * 16));
    // The head sits at the end of the arc and points along it (angles run anticlockwise, y down).
    const double end = (start + span) * M_PI / 180;
    const QPointF tip = centre + QPointF(std::cos(end), -std::sin(end)) * radius;
    const QPointF along(-std::sin(end), -std::cos(end));
    const QPointF across(std::cos(end), -std::sin(end));
    QPainterPath head;
    head.moveTo(tip + along * 5);
    head.lineTo(tip - along * 1.5 + across * 5);
    head.lineTo(tip - along * 1.5 - across * 5);
    head.closeSubpath();
    p.setPen(Qt::NoPen);
    p.setBrush(blue);
    p.drawPath(head);
    p.end();

    if (!image.save(QString::fromLocal8Bit(argv[1]), "PNG")) {
        fprintf(stderr, "velmora-icon: cannot write %s\n", argv[1]);
        return 1;
    }
    return 0;
}
