#include "deck/Motion.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double twoPi = 2 * std::numbers::pi;
// Damping fractions this close to 1 take the critical solution: the under- and over-damped
// forms divide by a frequency that vanishes there.
constexpr double criticalBand = 1e-6;

// A cubic Bézier timing curve from (0, 0) to (1, 1) with control points (x1, y1), (x2, y2).
class Bezier {
public:
    constexpr Bezier(double x1, double y1, double x2, double y2)
        : cx(3 * x1)
        , bx(3 * (x2 - x1) - cx)
        , ax(1 - cx - bx)
        , cy(3 * y1)
        , by(3 * (y2 - y1) - cy)
        , ay(1 - cy - by)
    {
    }

    // The eased progress at progress p in [0, 1], and its slope there.
    double at(double p) const { return y(solve(p)); }
    double slope(double p) const
    {
        const double s = solve(p);
        const double dx = dxds(s);
        return dx > 1e-12 ? dyds(s) / dx : 0;
    }

private:
    double x(double s) const { return ((ax * s + bx) * s + cx) * s; }
    double y(double s) const { return ((ay * s + by) * s + cy) * s; }
    double dxds(double s) const { return (3 * ax * s + 2 * bx) * s + cx; }
    double dyds(double s) const { return (3 * ay * s + 2 * by) * s + cy; }

    // The curve parameter whose x is p. Newton converges in a few steps almost everywhere;
    // where the slope flattens (an end with a zero control x) bisection finishes the job.
    double solve(double p) const
    {
        double s = p;
        for (int i = 0; i < 8; ++i) {
            const double error = x(s) - p;
            if (std::abs(error) < 1e-9)
                return s;
            const double d = dxds(s);
            if (std::abs(d) < 1e-9)
                break;
            s -= error / d;
        }
        double lo = 0;
        double hi = 1;
        s = p;
        for (int i = 0; i < 60 && hi - lo > 1e-12; ++i) {
            if (x(s) < p)
                lo = s;
            else
                hi = s;
            s = (lo + hi) / 2;
        }
        return s;
    }

    double cx, bx, ax, cy, by, ay;
};

constexpr Bezier easeInOutCurve{0.42, 0, 0.58, 1};
constexpr Bezier easeOutCurve{0, 0, 0.58, 1};

// Displacement from the target and velocity of a unit-mass spring after t seconds, from
// displacement d0 and velocity v0.
struct SpringState {
    double displacement;
    double velocity;
};

SpringState solveSpring(double omega, double zeta, double d0, double v0, double t)
{
    if (zeta < 1 - criticalBand) {
        const double decay = zeta * omega;
        const double wd = omega * std::sqrt(1 - zeta * zeta);
        const double c = d0;
        const double s = (v0 + decay * d0) / wd;
        const double e = std::exp(-decay * t);
        const double cosine = std::cos(wd * t);
        const double sine = std::sin(wd * t);
        return {e * (c * cosine + s * sine),
                e * ((wd * s - decay * c) * cosine - (decay * s + wd * c) * sine)};
    }
    if (zeta <= 1 + criticalBand) {
        const double b = v0 + omega * d0;
        const double e = std::exp(-omega * t);
        return {(d0 + b * t) * e, (b - omega * (d0 + b * t)) * e};
    }
    const double root = std::sqrt(zeta * zeta - 1);
    const double r1 = -omega * (zeta - root);
    const double r2 = -omega * (zeta + root);
    const double a = (v0 - r2 * d0) / (r1 - r2);
    const double b = d0 - a;
    const double e1 = std::exp(r1 * t);
    const double e2 = std::exp(r2 * t);
    return {a * e1 + b * e2, a * r1 * e1 + b * r2 * e2};
}

} // namespace

Curve Curve::spring(double response, double damping, double delay)
{
    Curve c;
    c.kind = Kind::Spring;
    c.response = response;
    c.damping = damping;
    c.delay = delay;
    return c;
}

Curve Curve::easeInOut(double duration, double delay)
{
    Curve c;
    c.kind = Kind::EaseInOut;
    c.duration = duration;
    c.delay = delay;
    return c;
}

Curve Curve::easeOut(double duration, double delay)
{
    Curve c = easeInOut(duration, delay);
    c.kind = Kind::EaseOut;
    return c;
}

Curve Curve::linear(double duration, double delay)
{
    Curve c = easeInOut(duration, delay);
    c.kind = Kind::Linear;
    return c;
}

Curve Curve::delayed(double seconds) const
{
    Curve c = *this;
    c.delay = seconds;
    return c;
}

Animated::Animated(double value)
    : from(value)
    , to(value)
{
}

void Animated::animateTo(double target, const Curve& next, double now)
{
    const Sample here = sample(now);
    curve = next;
    from = here.value;
    to = target;
    // A spring that waits first sets off from rest: it has held still through the delay.
    startVelocity = next.kind == Curve::Kind::Spring && next.delay <= 0 ? here.velocity : 0;
    start = now + std::max(next.delay, 0.0);
    tolerance = std::max(std::abs(target - from) * 1e-3, 1e-4);
    moving = true;
}

void Animated::jumpTo(double value)
{
    from = value;
    to = value;
    startVelocity = 0;
    moving = false;
}

double Animated::value(double now) const { return sample(now).value; }

double Animated::velocity(double now) const { return sample(now).velocity; }

bool Animated::settled(double now) const { return sample(now).settled; }

Animated::Sample Animated::sample(double now) const
{
    if (!moving)
        return {to, 0, true};
    const double t = now - start;
    if (t < 0)
        return {from, 0, false};

    if (curve.kind == Curve::Kind::Spring) {
        if (curve.response <= 0)
            return {to, 0, true};
        const double omega = twoPi / curve.response;
        const SpringState s = solveSpring(omega, curve.damping, from - to, startVelocity, t);
        // The spring's energy only falls, so sqrt(d² + (v/ω)²) bounds every displacement
        // still to come: below the tolerance, nothing visible is left of the motion.
        const double reach = std::hypot(s.displacement, s.velocity / omega);
        if (reach < tolerance)
            return {to, 0, true};
        return {to + s.displacement, s.velocity, false};
    }

    if (t >= curve.duration)
        return {to, 0, true};
    const double p = t / curve.duration;
    const double span = to - from;
    switch (curve.kind) {
    case Curve::Kind::EaseInOut:
        return {from + span * easeInOutCurve.at(p), span * easeInOutCurve.slope(p) / curve.duration,
                false};
    case Curve::Kind::EaseOut:
        return {from + span * easeOutCurve.at(p), span * easeOutCurve.slope(p) / curve.duration,
                false};
    case Curve::Kind::Linear:
    case Curve::Kind::Spring:
        break;
    }
    return {from + span * p, span / curve.duration, false};
}
