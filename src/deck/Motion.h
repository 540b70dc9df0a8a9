#pragma once

// How the deck's views move: damped springs and timed curves, sampled by time rather than
// stepped frame by frame, so that a dropped frame never changes where a motion goes and a
// view can sample many values per frame cheaply. Times are seconds on whatever monotonic
// clock the caller uses; values are plain numbers (points, opacities, scales).

// One motion's shape. A spring is given by its response (the period of the undamped spring,
// in seconds) and its damping as a fraction of critical: unit mass, stiffness
// (2π / response)², damping coefficient 4π × damping / response. A timed curve runs for
// duration seconds. Either may wait delay seconds before it starts.
struct Curve {
    enum class Kind { Spring, EaseInOut, EaseOut, Linear };
    Kind kind = Kind::Spring;
    double response = 0; // spring: seconds
    double damping = 1;  // spring: fraction of critical
    double duration = 0; // timed curves: seconds
    double delay = 0;    // seconds before the motion starts

    // A response of 0 or less jumps to the target once the delay is over. REQUIRES: damping
    // greater than 0, or the spring never comes to rest.
    static Curve spring(double response, double damping, double delay = 0);
    // Cubic Bézier (0.42, 0, 0.58, 1).
    static Curve easeInOut(double duration, double delay = 0);
    // Cubic Bézier (0, 0, 0.58, 1).
    static Curve easeOut(double duration, double delay = 0);
    static Curve linear(double duration, double delay = 0);
    Curve delayed(double seconds) const;
};

// One animated number. Sampling is const and exact: a spring is solved in closed form from
// the value and velocity it started with (under-, critically and over-damped alike), a timed
// curve from its start value.
//
// A new target takes over from wherever the number is at that moment: a spring keeps the
// current value and velocity, so the motion bends rather than jumps; a timed curve starts
// from the current value. During a delay the number holds still, and a delayed spring
// starts from rest at the value it held.
class Animated {
public:
    explicit Animated(double value = 0);

    void animateTo(double target, const Curve& curve, double now);
    // No motion: settled at value at once.
    void jumpTo(double value);

    double value(double now) const;
    double velocity(double now) const;
    double target() const { return to; }
    // The motion is over: a timed curve has run its duration; a spring's remaining motion is
    // within 0.1% of the distance it set out to travel (never below 1e-4). From then on
    // value() is exactly target() and velocity() is 0.
    bool settled(double now) const;

private:
    struct Sample {
        double value;
        double velocity;
        bool settled;
    };
    Sample sample(double now) const;

    Curve curve;
    double from = 0;
    double to = 0;
    double startVelocity = 0;
    // When the motion proper begins, after the delay.
    double start = 0;
    double tolerance = 0;
    bool moving = false;
};
