// Waypoint follower: set-up, node switching, steering, the speed rule.
#include "agents/cTarko_AI.h"

#include <gtest/gtest.h>

#include <cmath>

#include "runtime/errors.h"
#include "runtime/services.h"
#include "support/test_support.h"

namespace {

using tarko::Variant;
using tarko::agents::Follower;
using tarko::test::error_of;

class Ai : public ::testing::Test {
protected:
    tarko::runtime::ScopedTestServices services;
    cTarko_AI ai;
    const Follower& s() const { return ai.state(); }
};

TEST_F(Ai, InitMakesTwoNodesTheSecondAtTheOrigin) {
    ai.INIT_Ai({1, 2, 3}, {10, 20, 30});
    EXPECT_EQ(ai.GetNodePOS(Variant(tarko::Integer(0))).y, 30.0f);  // the node's Z comes back in y
    EXPECT_EQ(ai.GetNodePOS(1.0).x, 0.0f);
    EXPECT_EQ(error_of([&] { ai.GetNodePOS("2"); }), tarko::err::SubscriptOutOfRange);
}

TEST_F(Ai, TurnRadiusIsRoundedHalfToEvenAndOverflowsPast32767) {
    ai.INIT_Ai({}, {0, 0, -100}, 0.3f, 1.5f, 8, -4, 0.03f, 4.5f);
    EXPECT_EQ(s().Turn_Radius, 4);
    ai.INIT_Ai({}, {0, 0, -100}, 0.3f, 1.5f, 8, -4, 0.03f, 5.5f);
    EXPECT_EQ(s().Turn_Radius, 6);
    EXPECT_EQ(error_of([&] { ai.INIT_Ai({}, {}, 0.3f, 1.5f, 8, -4, 0.03f, 32768.0f); }), tarko::err::Overflow);
    EXPECT_EQ(s().Turn_Radius, 6);  // the failed set-up changed nothing
}

TEST_F(Ai, StraightAheadTheHeadingJittersAndTheSpeedClimbsToTheLimit) {
    services.clock().now = 123456;
    ai.INIT_Ai({0, 0, 0}, {0, 0, -1000});
    // Step 1: bearing 0, e = 0, so the heading falls by 0.05; speed 1.5 + 0.3.
    ai.Update_AI();
    EXPECT_FLOAT_EQ(s().Heading, -0.05f);
    EXPECT_FLOAT_EQ(s().Speed, 1.8f);
    EXPECT_EQ(s().LastTicks, 123456);
    for (int i = 0; i < 40; ++i) ai.Update_AI();
    EXPECT_EQ(s().Speed, 8.0f);  // held at Max_Speed
}

TEST_F(Ai, ReachesAWaypointInTheStepsTheSpeedsAddUpTo) {
    // Speeds after step k: 1.5 + 0.3 k, so n steps cover 1.5 n + 0.15 n (n + 1)
    // times cos(0.05) at worst: 20 steps 93 (92.9), 21 steps 100.8 (100.7).
    // Node 0 is 100 ahead; it counts as reached when the rounded distance is
    // below Turn_Radius + 1 = 6, checked at the start of a step: after 20 steps
    // about 7 remain (not yet), after 21 under 1. So the switch is at step 22.
    ai.INIT_Ai({0, 0, 0}, {0, 0, -100});
    ai.AI_Add_Target({0, 0, -500});
    int switched_at = 0;
    for (int step = 1; step <= 40 && switched_at == 0; ++step) {
        ai.Update_AI();
        if (s().CurrentNode != 0) switched_at = step;
    }
    EXPECT_EQ(switched_at, 22);
    EXPECT_EQ(s().CurrentNode, 1);  // the (0, 0) node made by INIT_Ai comes next
    Follower f = s();
    f.CurrentNode = 2;
    f.PosX = 0;
    f.PosZ = -500;
    f.step();  // within reach of node 2, the last: back to 0
    EXPECT_EQ(f.CurrentNode, 0);
}

TEST_F(Ai, ANodeBehindOrInsideTheTurningCircleBrakes) {
    // Node 0 straight behind: bearing pi (-z is ahead), e = 3.14159 > BackAngle;
    // the circle at speed 1.5 has a radius of about 30, its centre is to the
    // side, and the node 100 behind is outside it: brake by 0.03.
    ai.INIT_Ai({0, 0, 0}, {0.5f, 0, 100});
    ai.Update_AI();
    EXPECT_FLOAT_EQ(s().Speed, 1.47f);
    // Fast (speed 8) with the node 20 to the right: the circle's radius is about
    // S * 10 / (2 sin(0.25)) = 161, centred 161 to the right; the node is inside.
    Follower fast = s();
    fast.Nodes.ReDim(0, 0);
    fast.Nodes(0) = {20, -1, 0};  // ahead right: bearing atn(20)
    fast.PosX = fast.PosZ = fast.Heading = 0;
    fast.Speed = 8;
    fast.steer();
    EXPECT_NEAR(fast.TurnCircleRadius, 8 * 10 / (2 * std::sin(0.25)), 0.05);
    EXPECT_FLOAT_EQ(fast.Speed, 7.97f);
    Follower still = fast;  // standing still there is no circle to be inside
    still.Speed = 0;
    still.steer();
    EXPECT_EQ(still.TurnCircleRadius, 0.0f);
    EXPECT_FLOAT_EQ(still.Speed, 0.3f);
}

TEST_F(Ai, LocationIsOffsetToTheSideAndTheAngleUsesItsOwnPi) {
    ai.INIT_Ai({10, 5, 20}, {10, 0, -100});
    const D3DVECTOR at = ai.Get_location();  // heading 0: (10 + 5, 0, 20)
    EXPECT_EQ(at.x, 15.0f);
    EXPECT_EQ(at.z, 20.0f);
    // float(3.14159) / (3.14159 / 180) = 180.0000069, rounded to 4 decimals.
    EXPECT_EQ(tarko::agents::heading_degrees(3.14159f), 180.0f);
}

TEST_F(Ai, HostileInputEndsWithAnErrorOrAValueNeverAHang) {
    EXPECT_EQ(error_of([&] { ai.Update_AI(); }), tarko::err::SubscriptOutOfRange);  // before INIT_Ai
    EXPECT_LE(std::fabs(tarko::agents::wrap_angle(1e30f)), 3.1416f);
    EXPECT_TRUE(std::isinf(tarko::agents::wrap_angle(INFINITY)));
    EXPECT_EQ(tarko::agents::bearing(0, 0, 10, 0), 0.0f);  // dz = 0, whatever dx
    // A waypoint 40000 away overflows the rounded distance.
    ai.INIT_Ai({0, 0, 0}, {0, 0, -40000});
    EXPECT_EQ(error_of([&] { ai.Update_AI(); }), tarko::err::Overflow);
}

}  // namespace
