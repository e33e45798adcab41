#include "terminal/look/Theme.h"

#include "ContrastRatio.h"

#include <gtest/gtest.h>

#include <vector>

using namespace Terminal;

namespace {

constexpr double leastOfText = 4.5;
constexpr double leastOfMarks = 3;

const std::vector<QColor> quietSurfaces = {Theme::screen(), Theme::panel(), Theme::otherRow(), Theme::face(),
                                           Theme::litFace()};
const std::vector<QColor> loudSurfaces = {Theme::pressedFace(), Theme::alarmFace(), Theme::onFace(),
                                          Theme::offFace()};

void expectContrast(const QColor& one, const QColor& other, double least) {
    EXPECT_GE(contrastRatio(one, other), least) << qPrintable(one.name()) << " on " << qPrintable(other.name());
}

} // namespace

TEST(ThemeTest, TheRatioIsThatOfTheGuidelines) {
    EXPECT_NEAR(21, contrastRatio(Qt::white, Qt::black), 0.001);
    EXPECT_NEAR(1, contrastRatio(Qt::red, Qt::red), 0.001);
    EXPECT_NEAR(4.54, contrastRatio(QColor(0x76, 0x76, 0x76), Qt::white), 0.005);
    EXPECT_NEAR(4.54, contrastRatio(Qt::white, QColor(0x76, 0x76, 0x76)), 0.005);
}

TEST(ThemeTest, TextCanBeReadOnEachSurface) {
    for (const QColor& surface : quietSurfaces)
        for (const QColor& text : {Theme::text(), Theme::quietText(), Theme::accent(), Theme::encoder(),
                                   Theme::warning(), Theme::alarm(), Theme::colourOf(KX::KXGesture::DoublePress)})
            expectContrast(text, surface, leastOfText);
    for (const QColor& surface : loudSurfaces)
        expectContrast(Theme::text(), surface, leastOfText);
}

TEST(ThemeTest, MarksAndBordersOfControlsStandOut) {
    for (const QColor& surface : quietSurfaces) {
        for (const KX::KXGesture gesture :
             {KX::KXGesture::Press, KX::KXGesture::DoublePress, KX::KXGesture::LongPress, KX::KXGesture::Release,
              KX::KXGesture::LongRelease, KX::KXGesture::Escape})
            expectContrast(Theme::colourOf(gesture), surface, leastOfMarks);
        expectContrast(Theme::edge(), surface, leastOfMarks);
        expectContrast(Theme::encoder(), surface, leastOfMarks);
    }
}

TEST(ThemeTest, TheTimeForADoublePressStandsOutInThePlotAndInItsLegend) {
    expectContrast(Theme::doublePressTime(), Theme::screen(), leastOfMarks);
    expectContrast(Theme::doublePressTime(), Theme::panel(), leastOfMarks);
}

TEST(ThemeTest, TextOnABarOfTheTimeLineCanBeRead) {
    for (const KX::KXGesture gesture :
         {KX::KXGesture::Press, KX::KXGesture::DoublePress, KX::KXGesture::LongPress})
        expectContrast(Theme::screen(), Theme::colourOf(gesture), leastOfText);
}
