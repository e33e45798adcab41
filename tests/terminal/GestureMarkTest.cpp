#include "terminal/look/GestureMark.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include <cstdlib>

using namespace Terminal;

namespace {

constexpr KX::KXGesture gestures[] = {KX::KXGesture::Press,     KX::KXGesture::DoublePress, KX::KXGesture::Release,
                                      KX::KXGesture::LongPress, KX::KXGesture::LongRelease, KX::KXGesture::Escape};

// All in one colour, so that only the shape makes a difference.
QImage drawn(KX::KXGesture gesture, double size) {
    QImage image(40, 40, QImage::Format_RGB32);
    image.fill(Qt::black);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    GestureMark::draw(painter, gesture, QPointF(20, 20), size, Qt::white);
    return image;
}

int differingPixels(const QImage& one, const QImage& other) {
    int found = 0;
    for (int y = 0; y < one.height(); ++y)
        for (int x = 0; x < one.width(); ++x)
            found += std::abs(qGray(one.pixel(x, y)) - qGray(other.pixel(x, y))) > 96 ? 1 : 0;
    return found;
}

} // namespace

TEST(GestureMarkTest, ShapesDifferWithoutTheirColours) {
    for (const double size : {13.0, 16.0, 30.0})
        for (const KX::KXGesture one : gestures)
            for (const KX::KXGesture other : gestures)
                if (one != other)
                    EXPECT_GE(differingPixels(drawn(one, size), drawn(other, size)), size)
                        << static_cast<int>(one) << ' ' << static_cast<int>(other) << ", " << size << " pixels";
}

TEST(GestureMarkTest, AMarkStaysWithinItsWidth) {
    constexpr double size = 16;
    for (const KX::KXGesture gesture : gestures) {
        const QImage image = drawn(gesture, size);
        const double reach = GestureMark::widthOf(gesture, size) / 2 + 1;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                if (std::abs(x + 0.5 - 20) > reach || std::abs(y + 0.5 - 20) > size / 2 + 1)
                    EXPECT_LT(qGray(image.pixel(x, y)), 16) << static_cast<int>(gesture) << ": " << x << ' ' << y;
    }
}

TEST(GestureMarkTest, WhatIsNoGestureOfAKeyHasNoMark) {
    QImage empty(40, 40, QImage::Format_RGB32);
    empty.fill(Qt::black);
    EXPECT_EQ(empty, drawn(KX::KXGesture::NoGesture, 16));
    EXPECT_EQ(empty, drawn(KX::KXGesture::Enter, 16));
}
