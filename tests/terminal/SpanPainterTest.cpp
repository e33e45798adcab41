#include "terminal/timeline/SpanPainter.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

using namespace Terminal;

namespace {

// Two quick presses at 100 and 140 in an otherwise empty picture of the given width.
QImage drawnGap(int width) {
    QImage image(width, 40, QImage::Format_RGB32);
    image.fill(Qt::black);
    QPainter painter(&image);
    const SpanLook look{Sizes(Sizes::unitOfDesign)};
    SpanPainter spans(painter, QRectF(image.rect()), look);
    KeyTimeLine::Span second{};
    second.followsPress = true;
    second.sincePreviousPress = 301;
    second.doublePressWindow = 300;
    spans.draw(second, {140, 146, 0, 100, 0, static_cast<qreal>(width)}, 10);
    return image;
}

bool isBlank(const QImage& image, int left, int right) {
    for (int x = left; x < right; ++x) {
        for (int y = 0; y < 10; ++y)
            if (image.pixelColor(x, y) != Qt::black)
                return false;
    }
    return true;
}

} // namespace

TEST(SpanPainterTest, TheLengthOfAShortGapStandsBehindItWhereThereIsRoom) {
    const QImage image = drawnGap(400);
    EXPECT_FALSE(isBlank(image, 142, 300));
    EXPECT_TRUE(isBlank(image, 0, 99));
}

TEST(SpanPainterTest, AtTheBorderOfThePictureTheLengthOfAGapStandsBeforeIt) {
    const QImage image = drawnGap(150);
    EXPECT_FALSE(isBlank(image, 0, 99));
    EXPECT_TRUE(isBlank(image, 142, 150));
}
