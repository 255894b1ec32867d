// How a signature is drawn: each letter is a few key points of the pen's path (in units of the
// writing's x-height, y upwards), taken from a handful of letter shapes, stretched and jittered. The
// pen runs through the key points of a word on a Catmull-Rom curve, which turns them into the round
// strokes of handwriting; the curve is sampled at an even spacing, slanted, tilted a little and fitted
// into the tablet's grid, y downwards.
#include "handwriting.h"

#include <algorithm>
#include <cmath>

namespace sim {

namespace {

struct Vec {
    double x = 0;
    double y = 0;
};

Vec operator+(Vec a, Vec b) {
    return {a.x + b.x, a.y + b.y};
}
Vec operator-(Vec a, Vec b) {
    return {a.x - b.x, a.y - b.y};
}
Vec operator*(double k, Vec a) {
    return {k * a.x, k * a.y};
}
double length(Vec a) {
    return std::hypot(a.x, a.y);
}

using Path = std::vector<Vec>;

// The letter shapes: key points over a width of 1, from the baseline (y 0) through the x-height (y 1).
// Cursive letters begin and end near the baseline, so they join up when written one after another.
const Path kArch = {{0.0, 0.0}, {0.2, 0.9}, {0.5, 1.0}, {0.8, 0.45}, {0.9, 0.0}};
const Path kCup = {{0.0, 0.0}, {0.15, 0.85}, {0.3, 0.1}, {0.65, 0.05}, {0.85, 0.9}, {0.95, 0.2}};
const Path kOval = {{0.0, 0.2}, {0.7, 0.95}, {0.35, 1.0}, {0.05, 0.55}, {0.3, 0.0}, {0.75, 0.5}, {0.95, 0.0}};
const Path kSmallLoop = {{0.0, 0.05}, {0.6, 0.6}, {0.45, 0.85}, {0.15, 0.5}, {0.4, 0.0}, {0.95, 0.1}};
const Path kTallLoop = {{0.0, 0.0},  {0.5, 1.3}, {0.65, 2.2}, {0.4, 2.35},
                        {0.25, 1.6}, {0.3, 0.0}, {0.9, 0.3}};
const Path kLowLoop = {{0.0, 0.4},    {0.45, 0.9}, {0.5, 0.0},  {0.45, -1.2},
                       {0.15, -1.45}, {0.1, -1.0}, {0.6, -0.2}, {0.95, 0.25}};
const Path kSpike = {{0.0, 0.0}, {0.3, 0.95}, {0.45, 0.15}, {0.95, 0.1}};

// A capital: a tall stem with a loop at the top and a bowl that runs on into the next letter.
const Path kCapital = {{0.3, 2.0}, {0.8, 2.9}, {1.05, 2.5}, {0.7, 1.2}, {0.35, 0.0}, {0.05, 0.2}, {0.4, 1.0},
                       {1.3, 1.9}, {1.7, 1.5}, {1.4, 0.8},  {1.0, 0.6}, {1.6, 0.3},  {2.0, 0.1}};

// An L- or J-like capital: a long stroke down from the top, a foot that turns back and runs on.
const Path kCapitalStem = {{0.7, 2.5}, {0.5, 1.4},  {0.15, 0.0}, {-0.2, 0.3},
                           {0.3, 0.5}, {1.0, 0.15}, {1.4, 0.1}};
// An M- or N-like capital: peaks of full height.
const Path kCapitalPeaks = {{0.0, 0.0}, {0.25, 2.6}, {0.5, 1.0}, {0.8, 2.7}, {1.05, 0.0}, {1.3, 0.25}};
const Path* const kCapitals[] = {&kCapital, &kCapital, &kCapitalStem, &kCapitalPeaks};

const Path* const kLetters[] = {&kArch,      &kArch,     &kCup,     &kOval,  &kOval, &kSmallLoop,
                                &kSmallLoop, &kTallLoop, &kLowLoop, &kSpike, &kSpike};

// Catmull-Rom through `keys`: the pen's path, densely.
Path smoothCurve(const Path& keys) {
    Path out;
    if (keys.empty()) return out;
    out.push_back(keys.front());
    for (std::size_t i = 0; i + 1 < keys.size(); ++i) {
        const Vec p0 = keys[i == 0 ? 0 : i - 1], p1 = keys[i], p2 = keys[i + 1];
        const Vec p3 = keys[std::min(i + 2, keys.size() - 1)];
        constexpr int pieces = 32;
        for (int k = 1; k <= pieces; ++k) {
            const double t = static_cast<double>(k) / pieces, t2 = t * t, t3 = t2 * t;
            out.push_back(0.5 * ((2.0 * p1) + t * (p2 - p0) + t2 * (2.0 * p0 - 5.0 * p1 + 4.0 * p2 - p3) +
                                 t3 * (3.0 * p1 - p0 - 3.0 * p2 + p3)));
        }
    }
    return out;
}

// The points of `path` every `step` along it, with its first and last point.
Path resample(const Path& path, double step) {
    Path out;
    if (path.empty()) return out;
    out.push_back(path.front());
    double carried = 0; // distance along the path since the last point taken
    for (std::size_t i = 1; i < path.size(); ++i) {
        const Vec from = path[i - 1], to = path[i];
        const double segment = length(to - from);
        double at = step - carried; // where on this segment the next point falls
        while (at <= segment) {
            out.push_back(from + (at / segment) * (to - from));
            at += step;
        }
        carried = segment - (at - step);
    }
    if (carried > step * 0.25 || out.size() == 1) out.push_back(path.back());
    return out;
}

double pathLength(const Path& path) {
    double total = 0;
    for (std::size_t i = 1; i < path.size(); ++i)
        total += length(path[i] - path[i - 1]);
    return total;
}

// The key points of a word of `letters` letters starting at x, with its capital; `dots` gets the
// places above letters that an i-dot could go, `bars` the places of a t-bar.
Path writeWord(SampleRandom& dice, int letters, double x, Path& dots, Path& bars) {
    Path keys;
    auto place = [&](const Path& shape, double width, double height, double baseline) {
        for (const Vec& key : shape)
            keys.push_back({x + key.x * width + dice.real(-0.04, 0.04),
                            baseline + key.y * height + dice.real(-0.05, 0.05)});
        x += shape.back().x * width;
    };
    const double capitalSize = dice.real(0.9, 1.4);
    // One draw per statement, as the order in which arguments are evaluated is not fixed.
    const Path& capital = *kCapitals[dice.below(static_cast<int>(std::size(kCapitals)))];
    const double capitalWidth = dice.real(0.55, 0.8) * capitalSize;
    place(capital, capitalWidth, capitalSize, 0);
    // People sign ever more hastily: the letters flatten and widen towards the end of a word.
    const double fading = dice.real(0.0, 0.5);
    for (int i = 0; i < letters; ++i) {
        const double progress = static_cast<double>(i) / std::max(1, letters - 1);
        const double height = dice.real(0.7, 1.15) * (1.0 - fading * progress);
        const double width = dice.real(0.45, 0.8) * (1.0 + 0.4 * fading * progress);
        const Path& shape = *kLetters[dice.below(static_cast<int>(std::size(kLetters)))];
        const double before = x;
        place(shape, width, height, dice.real(-0.08, 0.08));
        if (&shape == &kSpike && dice.chance(50)) dots.push_back({before + 0.35 * width, 1.6 * height});
        if (&shape == &kTallLoop && dice.chance(40)) bars.push_back({before + 0.5 * width, 1.3 * height});
    }
    // The pen leaves the word with a short rising tail.
    keys.push_back({x + dice.real(0.2, 0.6), dice.real(0.2, 0.9)});
    return keys;
}

} // namespace

std::vector<signature::Stroke> Handwriting(SampleRandom& dice, int letters) {
    letters = std::max(5, letters);
    std::vector<Path> keyStrokes;
    Path dots, bars;

    // The name, one word or two; a second word is often the surname, shorter than the first.
    const bool twoWords = dice.chance(45);
    const int first = twoWords ? std::max(2, letters * dice.between(35, 60) / 100) : letters;
    keyStrokes.push_back(writeWord(dice, first, 0, dots, bars));
    if (twoWords) {
        const double gap = keyStrokes.back().back().x + dice.real(0.4, 0.9);
        keyStrokes.push_back(writeWord(dice, std::max(2, letters - first), gap, dots, bars));
    }
    const double end = keyStrokes.back().back().x;

    // At most one i-dot and one t-bar, as most signers leave the others out.
    if (!dots.empty()) {
        const Vec dot = dots[dice.below(static_cast<int>(dots.size()))];
        keyStrokes.push_back({dot, dot + Vec{0.06, 0.02}});
    }
    if (!bars.empty() || dice.chance(20)) {
        const Vec at = bars.empty() ? Vec{end * dice.real(0.2, 0.6), 1.5} : bars.front();
        const double reach = dice.real(0.5, 1.4);
        keyStrokes.push_back({at - Vec{reach * 0.5, 0.1}, at + Vec{reach * 0.5, 0.15}});
    }
    // The underline flourish: back from the end of the name, under it, with a swing; always there
    // when the name was written in one stroke, as a signer lifts the pen at least once.
    if (dice.chance(70) || keyStrokes.size() == 1) {
        const double depth = dice.real(-0.9, -0.4);
        const double from = end * dice.real(0.75, 1.0);
        const double to = end * dice.real(0.0, 0.3);
        keyStrokes.push_back({{from, depth + 0.3},
                              {from - 0.3, depth - 0.05},
                              {(from + to) / 2, depth + dice.real(-0.15, 0.15)},
                              {to, depth - dice.real(0.0, 0.2)},
                              {to - 0.25, depth + 0.15}});
    }

    // Slant and tilt, then fit into the grid: the width fills 60 to 90 % of the pad, centred.
    const double slant = dice.real(0.15, 0.5), tilt = dice.real(-0.06, 0.06);
    std::vector<Path> curves;
    double minX = 1e9, maxX = -1e9, minY = 1e9, maxY = -1e9, total = 0;
    for (const Path& keys : keyStrokes) {
        Path curve = smoothCurve(keys);
        for (Vec& point : curve) {
            point = {point.x + slant * point.y, point.y + tilt * point.x};
            minX = std::min(minX, point.x), maxX = std::max(maxX, point.x);
            minY = std::min(minY, point.y), maxY = std::max(maxY, point.y);
        }
        total += pathLength(curve);
        curves.push_back(std::move(curve));
    }
    const double grid = signature::kGridSize;
    // The pen's samples are at most kLongestStep apart, so each is one move token; a long path is
    // drawn smaller rather than with more than kMostPoints points.
    constexpr double kLongestStep = 60, kMostPoints = 580;
    const double scale = std::min({grid * dice.real(0.6, 0.9) / (maxX - minX), grid * 0.9 / (maxY - minY),
                                   kMostPoints * kLongestStep / total});
    const double step = std::min(scale * total / dice.between(200, 520), kLongestStep);
    const double left = (grid - scale * (maxX - minX)) / 2, top = (grid - scale * (maxY - minY)) / 2;
    for (Path& curve : curves) {
        for (Vec& point : curve)
            point = {left + scale * (point.x - minX), top + scale * (maxY - point.y)}; // y downwards
        curve = resample(curve, step);
    }

    std::vector<signature::Stroke> strokes;
    for (const Path& curve : curves) {
        signature::Stroke stroke;
        for (const Vec& point : curve) {
            const signature::Point onGrid{static_cast<int>(std::lround(point.x)),
                                          static_cast<int>(std::lround(point.y))};
            if (stroke.empty() || !(stroke.back() == onGrid)) stroke.push_back(onGrid);
        }
        strokes.push_back(std::move(stroke));
    }
    return strokes;
}

} // namespace sim
