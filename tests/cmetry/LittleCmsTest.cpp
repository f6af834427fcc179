// The same numbers as Little CMS where both compute the same.

#include "tests/cmetry/Colors.h"

#include "Vondrel/CMetry/Internals/CMetryCalculator.h"

#include <gtest/gtest.h>
#include <lcms2.h>

using namespace Vondrel::CMetry;

namespace {

using Calculator = CMetryCalculator;

constexpr int colorCount = 20000;

cmsCIELab Other(const VDColorVector& lab)
{
    return {lab[0], lab[1], lab[2]};
}

// Little CMS takes the white with each call; both use that of our weights.
cmsCIEXYZ White()
{
    VDColorVector white;
    EXPECT_TRUE(Calculator::GetNormValence(Conditions(ColorSpace::CIEXYZ), white));
    return {white[0], white[1], white[2]};
}

}

TEST(LittleCms, ConvertsLabToXYZAndBackTheSame)
{
    RandomColors random;
    const cmsCIEXYZ white = White();
    for (int i = 0; i < colorCount; ++i) {
        const auto lab = random.LabColor();
        const cmsCIELab otherLab = Other(lab);
        VDColorVector xyz;
        ASSERT_TRUE(Calculator::GetVector_CIEXYZ(lab, xyz));
        cmsCIEXYZ otherXYZ;
        cmsLab2XYZ(&white, &otherXYZ, &otherLab);
        ASSERT_NEAR(xyz[0], otherXYZ.X, 0.001);
        ASSERT_NEAR(xyz[1], otherXYZ.Y, 0.001);
        ASSERT_NEAR(xyz[2], otherXYZ.Z, 0.001);

        if (otherXYZ.X < 0 || otherXYZ.Y < 0 || otherXYZ.Z < 0)
            continue; // no light has these
        VDColorVector back;
        ASSERT_TRUE(Calculator::GetVector_CIELab(xyz, back));
        const cmsCIEXYZ same{xyz[0], xyz[1], xyz[2]};
        cmsCIELab otherBack;
        cmsXYZ2Lab(&white, &otherBack, &same);
        ASSERT_NEAR(back[0], otherBack.L, 0.001);
        ASSERT_NEAR(back[1], otherBack.a, 0.001);
        ASSERT_NEAR(back[2], otherBack.b, 0.001);
    }
}

// CIE 94 is not among them: Little CMS takes the geometric mean of both chromas and factors of 0.048 and 0.014, not the
// reference's chroma with 0.045 and 0.015.
TEST(LittleCms, FindsTheSameDifferences)
{
    const struct {
        const char* name;
        float (*ours)(const VDColorVector&, const VDColorVector&);
        double (*other)(const cmsCIELab*, const cmsCIELab*);
    } formulas[] = {
        {"76", [](const auto& a, const auto& b) { return Calculator::GetDeltaE_CIELAB(a, b); },
         [](const auto* a, const auto* b) { return cmsDeltaE(a, b); }},
        {"CMC", [](const auto& a, const auto& b) { return Calculator::GetDeltaE_CMC(a, b, 2, 1); },
         [](const auto* a, const auto* b) { return cmsCMCdeltaE(a, b, 2, 1); }},
        {"2000", [](const auto& a, const auto& b) { return Calculator::GetDeltaE_2000(a, b, 1, 1, 1); },
         [](const auto* a, const auto* b) { return cmsCIE2000DeltaE(a, b, 1, 1, 1); }},
    };
    for (const auto& formula : formulas) {
        RandomColors random;
        double worst = 0;
        for (int i = 0; i < colorCount; ++i) {
            const auto lab1 = random.LabColor();
            auto lab2 = lab1;
            for (std::size_t axis = 0; axis < 3; ++axis)
                lab2[axis] += random.Between(-15, 15);
            const cmsCIELab other1 = Other(lab1);
            const cmsCIELab other2 = Other(lab2);
            worst = std::max(worst, std::abs(formula.ours(lab1, lab2) - formula.other(&other1, &other2)));
        }
        EXPECT_LT(worst, 0.001) << formula.name;
        RecordProperty(formula.name, std::to_string(worst));
    }
}
