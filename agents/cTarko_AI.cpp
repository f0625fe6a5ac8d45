// cTarko_AI: set-up and accessors over tarko::agents::Follower.
#include "agents/cTarko_AI.h"

#include <cmath>

#include "runtime/services.h"

namespace agents = tarko::agents;

void cTarko_AI::INIT_Ai(const D3DVECTOR& LocalPOS, const D3DVECTOR& vNext, float Acceleration, float Speed,
                        float Max_Speed, float Min_Speed, float BrakeSpeed, float Turn_Radius, float TurnRatio,
                        float BackAngle) {
    const tarko::Integer radius = tarko::runtime::CInt(Turn_Radius);  // overflows before anything changes
    agents::Follower fresh;
    fresh.Nodes.ReDim(0, 1);
    tarko::runtime::Randomize();  // kept for fidelity; nothing here draws from it
    fresh.Nodes(0) = {vNext.x, vNext.z, 0.0f};
    fresh.PosX = LocalPOS.x;
    fresh.PosZ = LocalPOS.z;
    fresh.Turn_Radius = radius;
    fresh.Heading = 0;
    fresh.CurrentNode = 0;
    fresh.Acceleration = Acceleration;
    fresh.Speed = Speed;
    fresh.Max_Speed = Max_Speed;
    fresh.Min_Speed = Min_Speed;
    fresh.BrakeSpeed = BrakeSpeed;
    fresh.TurnRatio = TurnRatio;
    fresh.BackAngle = BackAngle;
    Follower = std::move(fresh);
}

void cTarko_AI::Update_AI() { Follower.step(); }

D3DVECTOR cTarko_AI::Get_location() {
    const double r = Follower.Turn_Radius, h = Follower.Heading;
    return {static_cast<float>(Follower.PosX + r * std::cos(h)), 0.0f,
            static_cast<float>(Follower.PosZ - r * std::sin(h))};
}

float cTarko_AI::GetAngle_DEG() { return agents::heading_degrees(Follower.Heading); }

void cTarko_AI::AI_Add_Target(const D3DVECTOR& vTarget) {
    auto& nodes = Follower.Nodes;
    const tarko::Long upper = nodes.dimensioned() ? nodes.UBound() + 1 : 0;
    nodes.ReDimPreserve(upper);
    nodes(upper) = {vTarget.x, vTarget.z, 0.0f};
}

D3DVECTOR cTarko_AI::GetNodePOS(const tarko::Variant& Index) {
    const agents::AiNode& node = Follower.Nodes(Index.to_long());
    return {node.X, node.Z, node.Unused};
}
