// Draws the installer's images (icons, flags, logo) into the resources folder.
// The PNGs are committed; run this only after changing the drawings:
//   cmake --build <build> --target drawartwork && <build>/resources/drawartwork <source>/resources
#include <QDir>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QTextStream>
#include <QtMath>

#include <functional>

namespace {

const QColor kOutline(40, 48, 56);

void setupPainter(QPainter& painter)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
}

QLinearGradient verticalGradient(const QRectF& rect, const QColor& top, const QColor& bottom)
{
    QLinearGradient gradient(rect.topLeft(), rect.bottomLeft());
    gradient.setColorAt(0, top);
    gradient.setColorAt(1, bottom);
    return gradient;
}

void drawDisc(QPainter& painter, const QColor& light, const QColor& dark)
{
    const QRectF disc(3, 3, 42, 42);
    painter.setPen(QPen(dark.darker(130), 1.5));
    painter.setBrush(verticalGradient(disc, light, dark));
    painter.drawEllipse(disc);
}

// Install: a white "play" arrow on a green disc.
void drawRun(QPainter& painter)
{
    drawDisc(painter, QColor(120, 210, 90), QColor(30, 140, 40));
    QPainterPath arrow;
    arrow.moveTo(19, 13);
    arrow.lineTo(35, 24);
    arrow.lineTo(19, 35);
    arrow.closeSubpath();
    painter.setPen(QPen(Qt::white, 3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::white);
    painter.drawPath(arrow);
}

// Quit: an open door with a red arrow leading out.
void drawExit(QPainter& painter)
{
    painter.setPen(QPen(kOutline, 2));
    painter.setBrush(QColor(235, 235, 230));
    painter.drawRect(QRectF(8, 5, 22, 38));
    QPolygonF door({ QPointF(8, 5), QPointF(22, 9), QPointF(22, 46), QPointF(8, 43) });
    painter.setBrush(verticalGradient(QRectF(8, 5, 14, 41), QColor(190, 120, 60), QColor(130, 70, 30)));
    painter.drawPolygon(door);
    painter.setBrush(QColor(250, 210, 80));
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(QPointF(19, 27), 1.8, 1.8);
    QPainterPath arrow;
    arrow.moveTo(26, 21);
    arrow.lineTo(36, 21);
    arrow.lineTo(36, 15);
    arrow.lineTo(46, 25);
    arrow.lineTo(36, 35);
    arrow.lineTo(36, 29);
    arrow.lineTo(26, 29);
    arrow.closeSubpath();
    painter.setPen(QPen(QColor(140, 20, 20), 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(verticalGradient(QRectF(26, 15, 20, 20), QColor(240, 80, 70), QColor(190, 30, 30)));
    painter.drawPath(arrow);
}

// Help: a white question mark on a blue disc.
void drawHelp(QPainter& painter)
{
    drawDisc(painter, QColor(110, 170, 240), QColor(30, 90, 190));
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setBold(true);
    font.setPixelSize(32);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(QRectF(3, 4, 42, 42), Qt::AlignCenter, QStringLiteral("?"));
}

QPainterPath speechBubble(const QRectF& body, bool tailLeft)
{
    QPainterPath bubble;
    bubble.addRoundedRect(body, 6, 6);
    QPainterPath tail;
    const qreal x = tailLeft ? body.left() + 7 : body.right() - 7;
    const qreal tip = tailLeft ? body.left() + 2 : body.right() - 2;
    tail.moveTo(x - 4, body.bottom() - 1);
    tail.lineTo(tip, body.bottom() + 7);
    tail.lineTo(x + 4, body.bottom() - 1);
    tail.closeSubpath();
    return bubble.united(tail);
}

void drawBubbleLetter(QPainter& painter, const QRectF& body, const QString& letter, const QColor& text)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setBold(true);
    font.setPixelSize(int(body.height() * 0.72));
    painter.setFont(font);
    painter.setPen(text);
    painter.drawText(body, Qt::AlignCenter, letter);
}

// Language: two overlapping speech bubbles with the letters "A" and "Z".
void drawLang(QPainter& painter)
{
    const QRectF back(18, 6, 27, 22);
    painter.setPen(QPen(QColor(30, 90, 160), 1.5));
    painter.setBrush(verticalGradient(back, QColor(120, 180, 240), QColor(50, 120, 200)));
    painter.drawPath(speechBubble(back, false));
    drawBubbleLetter(painter, back.adjusted(4, 0, 0, 0), QStringLiteral("Z"), Qt::white);

    const QRectF front(3, 17, 27, 22);
    painter.setPen(QPen(QColor(170, 110, 10), 1.5));
    painter.setBrush(verticalGradient(front, QColor(255, 225, 120), QColor(240, 170, 40)));
    painter.drawPath(speechBubble(front, true));
    drawBubbleLetter(painter, front, QStringLiteral("A"), QColor(90, 50, 0));
}

// Undo: an arrow turning back to the left.
void drawUndo(QPainter& painter)
{
    QPainterPath curve;
    curve.moveTo(14, 18);
    curve.cubicTo(30, 14, 44, 20, 40, 32);
    curve.cubicTo(38, 38, 32, 41, 24, 41);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(20, 80, 150), 9, Qt::SolidLine, Qt::RoundCap));
    painter.drawPath(curve);
    painter.setPen(QPen(QColor(80, 150, 230), 5, Qt::SolidLine, Qt::RoundCap));
    painter.drawPath(curve);
    QPolygonF head({ QPointF(3, 18), QPointF(18, 6), QPointF(18, 30) });
    painter.setPen(QPen(QColor(20, 80, 150), 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(QColor(80, 150, 230));
    painter.drawPolygon(head);
}

// Add window: a window frame with a green plus badge.
void drawWindowAdd(QPainter& painter)
{
    const QRectF frame(3, 6, 36, 30);
    painter.setPen(QPen(kOutline, 1.5));
    painter.setBrush(Qt::white);
    painter.drawRoundedRect(frame, 3, 3);
    painter.setBrush(verticalGradient(frame, QColor(90, 140, 220), QColor(40, 90, 180)));
    painter.drawRoundedRect(QRectF(3, 6, 36, 8), 3, 3);
    painter.setPen(QPen(QColor(190, 195, 205), 2));
    for (int y = 19; y <= 31; y += 4)
        painter.drawLine(QPointF(8, y), QPointF(y == 31 ? 22 : 34, y));
    painter.setPen(QPen(QColor(20, 110, 30), 1.5));
    painter.setBrush(verticalGradient(QRectF(25, 25, 21, 21), QColor(120, 210, 90), QColor(30, 140, 40)));
    painter.drawEllipse(QRectF(25, 25, 21, 21));
    painter.setPen(QPen(Qt::white, 3.5, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(35.5, 29.5), QPointF(35.5, 41.5));
    painter.drawLine(QPointF(29.5, 35.5), QPointF(41.5, 35.5));
}

// Package: a closed cardboard box seen from above and the front.
void drawPackage(QPainter& painter)
{
    const QPointF top(24, 4), left(4, 14), right(44, 14), centre(24, 24);
    const QPointF bottomLeft(4, 35), bottom(24, 45), bottomRight(44, 35);
    painter.setPen(QPen(QColor(100, 60, 20), 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(QColor(235, 190, 120));
    painter.drawPolygon(QPolygonF({ top, right, centre, left }));
    painter.setBrush(QColor(205, 150, 80));
    painter.drawPolygon(QPolygonF({ left, centre, bottom, bottomLeft }));
    painter.setBrush(QColor(175, 120, 60));
    painter.drawPolygon(QPolygonF({ centre, right, bottomRight, bottom }));
    painter.setPen(QPen(QColor(245, 230, 200), 4));
    painter.drawLine(QPointF(14, 9), QPointF(34, 19));
    painter.drawLine(QPointF(34, 19), QPointF(34, 40));
    painter.setPen(QPen(QColor(100, 60, 20), 1));
    painter.drawLine(QPointF(14, 9), QPointF(34, 19));
}

// Flags fill a 3:2 area in the middle of the square image.
const QRectF kFlagArea(1, 9, 46, 30);

void drawFlagBorder(QPainter& painter)
{
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(90, 90, 90), 1));
    painter.drawRect(kFlagArea.adjusted(-0.5, -0.5, 0.5, 0.5));
}

void drawStripes(QPainter& painter, const QList<QColor>& colours, Qt::Orientation orientation)
{
    const qreal count = colours.size();
    for (int i = 0; i < colours.size(); ++i) {
        QRectF stripe = kFlagArea;
        if (orientation == Qt::Horizontal) {
            stripe.setTop(kFlagArea.top() + kFlagArea.height() * i / count);
            stripe.setHeight(kFlagArea.height() / count);
        } else {
            stripe.setLeft(kFlagArea.left() + kFlagArea.width() * i / count);
            stripe.setWidth(kFlagArea.width() / count);
        }
        painter.fillRect(stripe, colours.at(i));
    }
    drawFlagBorder(painter);
}

void drawFlagDe(QPainter& painter)
{
    drawStripes(painter, { QColor(0, 0, 0), QColor(221, 0, 0), QColor(255, 206, 0) }, Qt::Horizontal);
}

void drawFlagFr(QPainter& painter)
{
    drawStripes(painter, { QColor(0, 35, 149), Qt::white, QColor(237, 41, 57) }, Qt::Vertical);
}

void drawFlagPl(QPainter& painter)
{
    drawStripes(painter, { Qt::white, QColor(220, 20, 60) }, Qt::Horizontal);
}

// A band along the line through (cx, cy) with the given direction, between two
// offsets measured along the line's normal, drawn within the current clip.
void drawBand(QPainter& painter, QPointF centre, QPointF direction, qreal from, qreal to, const QColor& colour)
{
    const qreal length = std::hypot(direction.x(), direction.y());
    const QPointF unit = direction / length;
    const QPointF normal(-unit.y(), unit.x());
    const QPointF far = unit * 100;
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawPolygon(QPolygonF({ centre - far + normal * from, centre + far + normal * from,
        centre + far + normal * to, centre - far + normal * to }));
}

// Union Jack, drawn in a 50 x 30 unit grid: white saltire 6 wide, the red one 2
// wide and counterchanged, white cross 10 wide, red cross 6 wide.
void drawFlagEn(QPainter& painter)
{
    painter.save();
    painter.translate(kFlagArea.topLeft());
    painter.scale(kFlagArea.width() / 50.0, kFlagArea.height() / 30.0);
    painter.setClipRect(QRectF(0, 0, 50, 30));
    painter.fillRect(QRectF(0, 0, 50, 30), QColor(1, 33, 105));
    const QPointF centre(25, 15);
    const QPointF falling(50, 30), rising(50, -30);
    drawBand(painter, centre, falling, -3, 3, Qt::white);
    drawBand(painter, centre, rising, -3, 3, Qt::white);
    const QColor red(200, 16, 46);
    // Each arm's red stripe lies on the side turned anticlockwise, so the flag is
    // only symmetric under a half turn.
    const struct {
        QRectF quadrant;
        QPointF direction;
        qreal sign;
    } arms[] = { { QRectF(0, 0, 25, 15), falling, 1 }, { QRectF(25, 15, 25, 15), falling, -1 },
        { QRectF(25, 0, 25, 15), rising, -1 }, { QRectF(0, 15, 25, 15), rising, 1 } };
    for (const auto& arm : arms) {
        painter.setClipRect(arm.quadrant);
        drawBand(painter, centre, arm.direction, 0, 2 * arm.sign, red);
    }
    painter.setClipRect(QRectF(0, 0, 50, 30));
    painter.fillRect(QRectF(20, 0, 10, 30), Qt::white);
    painter.fillRect(QRectF(0, 10, 50, 10), Qt::white);
    painter.fillRect(QRectF(22, 0, 6, 30), red);
    painter.fillRect(QRectF(0, 12, 50, 6), red);
    painter.restore();
    drawFlagBorder(painter);
}

// Logo: a rounded teal mark holding an upward chevron, then the word "corvane".
void drawLogo(QPainter& painter)
{
    const QRectF mark(10, 10, 120, 120);
    painter.setPen(Qt::NoPen);
    painter.setBrush(verticalGradient(mark, QColor(40, 170, 170), QColor(10, 100, 120)));
    painter.drawRoundedRect(mark, 28, 28);
    painter.setPen(QPen(Qt::white, 14, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawPolyline(QPolygonF({ QPointF(38, 84), QPointF(70, 52), QPointF(102, 84) }));
    painter.drawLine(QPointF(40, 106), QPointF(100, 106));

    QFont font(QStringLiteral("DejaVu Sans"));
    font.setBold(true);
    font.setLetterSpacing(QFont::AbsoluteSpacing, -2);
    const QString word = QStringLiteral("corvane");
    const QRectF wordBox(150, 0, 406, 140);
    // The largest size at which the word fits beside the mark, whatever font is found.
    for (int pixels = 104; pixels > 40; pixels -= 2) {
        font.setPixelSize(pixels);
        if (QFontMetricsF(font).horizontalAdvance(word) <= wordBox.width())
            break;
    }
    painter.setFont(font);
    painter.setPen(QColor(30, 45, 60));
    painter.drawText(wordBox, Qt::AlignLeft | Qt::AlignVCenter, word);
}

struct Artwork {
    QString file;
    QSize size;
    std::function<void(QPainter&)> draw;
};

bool save(const Artwork& artwork, const QDir& target)
{
    QImage image(artwork.size, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    setupPainter(painter);
    artwork.draw(painter);
    painter.end();
    return image.save(target.filePath(artwork.file), "PNG");
}

} // namespace

int main(int argc, char* argv[])
{
    QGuiApplication app(argc, argv);
    QTextStream err(stderr);
    if (argc != 2) {
        err << "Usage: drawartwork <resources directory>\n";
        return 2;
    }
    const QDir target(QString::fromLocal8Bit(argv[1]));
    const QSize icon(48, 48);
    const QList<Artwork> artworks = { { "png/run", icon, drawRun }, { "png/exit", icon, drawExit },
        { "png/help", icon, drawHelp }, { "png/lang", icon, drawLang }, { "png/undo", icon, drawUndo },
        { "png/window_add.png", icon, drawWindowAdd }, { "png/package", icon, drawPackage },
        { "png/qel-b", QSize(566, 140), drawLogo }, { "flags/de", icon, drawFlagDe }, { "flags/en", icon, drawFlagEn },
        { "flags/fr", icon, drawFlagFr }, { "flags/pl", icon, drawFlagPl } };
    for (const Artwork& artwork : artworks) {
        if (!save(artwork, target)) {
            err << "drawartwork: cannot write " << target.filePath(artwork.file) << "\n";
            return 1;
        }
    }
    return 0;
}
