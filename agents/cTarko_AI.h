// cTarko_AI: a waypoint follower for hosts, with no engine and no device. It
// moves one point over the x-z plane round a closed list of waypoints, turning
// by TurnRatio per Update_AI and changing speed by where the next waypoint lies
// against its turning circle. Speeds are units per call: the motion follows
// the host's frame rate.
//
// INIT_Ai makes two waypoints: 0 is vNext, 1 is (0, 0) and is a real
// waypoint; AI_Add_Target appends from 2 on. The follower never stops: after
// the last waypoint it steers for waypoint 0 again.
//
// Errors: GetNodePOS outside the list raises Subscript out of range (9);
// Update_AI before INIT_Ai raises 9; a Turn_Radius outside -32768..32767, or
// a distance to a waypoint above 32767, raises Overflow (6).
#pragma once

#include "agents/follower.h"
#include "platform/records.h"
#include "runtime/numeric.h"
#include "runtime/variant.h"

class cTarko_AI {
public:
    // BackAngle's default is the Single nearest 2.094393253326416 (about 120
    // degrees). Turn_Radius is rounded half to even to a 16-bit whole number.
    void INIT_Ai(const D3DVECTOR& LocalPOS, const D3DVECTOR& vNext, float Acceleration = 0.3f, float Speed = 1.5f,
                 float Max_Speed = 8.0f, float Min_Speed = -4.0f, float BrakeSpeed = 0.03f, float Turn_Radius = 5.0f,
                 float TurnRatio = 0.05f, float BackAngle = 2.094393253326416f);
    // One step: reads the tick count, steers, advances.
    void Update_AI();
    // Not the raw position: (PosX + Turn_Radius cos Heading, 0, PosZ - Turn_Radius sin Heading).
    D3DVECTOR Get_location();
    // Heading / (3.14159 / 180), rounded half to even to 4 decimals.
    float GetAngle_DEG();
    // Appends (vTarget.x, vTarget.z); y is dropped.
    void AI_Add_Target(const D3DVECTOR& vTarget);
    // (X, Z, 0) of that node: the node's Z comes back in y.
    D3DVECTOR GetNodePOS(const tarko::Variant& Index);

    // Read access for inspection tools and tests.
    const tarko::agents::Follower& state() const { return Follower; }

private:
    tarko::agents::Follower Follower;
};
