// Waypoint follower steps.
#include "agents/follower.h"

#include <cmath>

#include "runtime/errors.h"
#include "runtime/services.h"

namespace tarko::agents {

namespace {
float f(double v) { return static_cast<float>(v); }
double d(float v) { return static_cast<double>(v); }
// Distances are stored into a 16-bit whole number: beyond 32767 this overflows.
Integer rounded_distance(double x1, double z1, double x2, double z2) {
    return runtime::CInt(std::sqrt((x2 - x1) * (x2 - x1) + (z2 - z1) * (z2 - z1)));
}
}  // namespace

Single wrap_angle(Single a) {
    if (!std::isfinite(a)) return a;
    double v = a;
    if (std::fabs(v) > 1.0e4) v = std::fmod(v, kTwoPi);
    float r = f(v);
    while (r < -kPi) r = f(r + kTwoPi);
    while (r > kPi) r = f(r - kTwoPi);
    return r;
}

Single bearing(Single x1, Single z1, Single x2, Single z2) {
    const double dx = d(x2) - x1, dz = d(z1) - z2;
    if (dz > 0) return f(std::atan(dx / dz));
    if (dz < 0) return f(std::atan(dx / dz) + kPi);
    return 0.0f;
}

Single heading_degrees(Single heading) {
    const double deg = heading / (kPi / 180.0);
    return f(runtime::round_half_even(deg * 10000.0) / 10000.0);
}

void Follower::step() {
    LastTicks = runtime::tick_count();
    steer();
    advance();
}

void Follower::steer() {
    const AiNode* node = &Nodes(CurrentNode);
    const Integer dist = rounded_distance(PosX, PosZ, node->X, node->Z);
    if (dist < static_cast<int>(Turn_Radius) + 1) {
        CurrentNode = (CurrentNode + 1 > Nodes.UBound()) ? Integer{0} : static_cast<Integer>(CurrentNode + 1);
        node = &Nodes(CurrentNode);
    }
    Single w = bearing(PosX, PosZ, node->X, node->Z);
    Heading = wrap_angle(Heading);
    w = wrap_angle(w);
    const Single e = wrap_angle(f(d(w) - Heading));

    // At e = 0 the follower still turns one step: on a straight line it jitters.
    Heading = e > 0 ? f(d(Heading) + TurnRatio) : f(d(Heading) - TurnRatio);
    compute_turning_circle(e > 0);

    const Integer c = rounded_distance(TurnCentreX, TurnCentreZ, node->X, node->Z);
    if (c < TurnCircleRadius) {
        Speed = f(d(Speed) - BrakeSpeed);            // inside the circle: cannot reach it at this speed
        if (Speed < Min_Speed) Speed = Min_Speed;
    } else if (std::fabs(e) <= BackAngle) {
        Speed = f(d(Speed) + Acceleration);
        if (Speed > Max_Speed) Speed = Max_Speed;
    } else {
        Speed = f(d(Speed) - BrakeSpeed);            // too far behind
        if (Speed < Min_Speed) Speed = Min_Speed;
    }
}

void Follower::advance() {
    PosX = f(PosX + d(Speed) * std::sin(d(Heading)));
    PosZ = f(PosZ - d(Speed) * std::cos(d(Heading)));
}

void Follower::compute_turning_circle(bool turn_right) {
    const double s = Speed;
    // Ten trial steps on a copy; only the copy's heading is read afterwards, so
    // its position is not kept.
    float h = Heading;
    for (int i = 0; i < 10; ++i) h = turn_right ? f(d(h) + TurnRatio) : f(d(h) - TurnRatio);
    const double ax = (std::sin(d(h)) * s - std::sin(d(Heading)) * s) / 10.0;
    const double az = (std::cos(d(h)) * s - std::cos(d(Heading)) * s) / 10.0;
    const double m = std::sqrt(ax * ax + az * az);
    // No acceleration (standing still, or no turn) would divide by zero: the
    // error is caught and the radius is 0, the centre the position itself.
    TurnCircleRadius = m == 0.0 ? 0.0f : f(s * s / m);
    const double angle = turn_right ? d(Heading) + kPi / 2 : d(Heading) - kPi / 2;
    TurnCentreX = f(PosX + d(TurnCircleRadius) * std::sin(angle));
    TurnCentreZ = f(PosZ - d(TurnCircleRadius) * std::cos(angle));
}

}  // namespace tarko::agents
