// The waypoint follower: a point on the x-z plane that steers for the next node
// of a closed list with a fixed turn per step, and speeds up, brakes or backs
// off by where the node lies against its turning circle. Speeds are in units
// per step; nothing here knows time.
#pragma once

#include "runtime/numeric.h"
#include "runtime/safe_array.h"

namespace tarko::agents {

struct AiNode {
    Single X = 0;
    Single Z = 0;
    Single Unused = 0;  // third field, always 0
};

inline constexpr double kPi = 3.14159;       // the follower's own constants
inline constexpr double kTwoPi = 6.28318;

struct Follower {
    Single PosX = 0, PosZ = 0;
    Single Heading = 0;         // radians; 0 points along -z, growing turns towards +x
    Single Speed = 0;           // units per step, may be negative
    Single Max_Speed = 0, Min_Speed = 0;
    Single TurnRatio = 0;       // radians per step
    Single Acceleration = 0, BrakeSpeed = 0;
    Single BackAngle = 0;       // bearing error beyond which the follower brakes
    Integer Turn_Radius = 0;    // arrival distance and the side offset of location()
    Integer CurrentNode = 0;
    SafeArray<AiNode> Nodes;    // subscripts from 0
    Single TurnCentreX = 0, TurnCentreZ = 0, TurnCircleRadius = 0;
    Long LastTicks = 0;

    // One step: steer (node switch, turn, speed rule), then advance.
    void step();
    void steer();
    void advance();
    // The circle the follower would drive at speed `s` turning to one side,
    // found by a ten-step trial; radius 0 where it has no acceleration.
    void compute_turning_circle(bool turn_right);
};

// Bringing an angle into -pi..pi by whole turns of 6.28318. Infinite and NaN
// values pass through; very large values are reduced by fmod first so that the
// loop always ends.
Single wrap_angle(Single a);
// Bearing from (x1, z1) to (x2, z2) in the follower's sense; 0 when z1 = z2.
Single bearing(Single x1, Single z1, Single x2, Single z2);
// Heading / (3.14159 / 180), rounded half to even to 4 decimals.
Single heading_degrees(Single heading);

}  // namespace tarko::agents
