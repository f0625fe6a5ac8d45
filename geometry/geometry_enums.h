// Public enumerations of the geometry operations: what a construction builds,
// how its wall test reads, and the vertex kind of an external cube.
#pragma once

#include "runtime/numeric.h"

enum TARKO_CONSTRUCTION_CONST : tarko::Long {
    MUR_EST = 1,
    MUR_NORD = 2,
    MUR_OUEST = 3,
    MUR_SUD = 4,
    MUR_EST_OUEST = 5,
    MUR_NORD_SUD = 6,
    MUR_SUD_OUEST_NORD = 7,
    MUR_OUEST_NORD_EST = 8,
    MUR_NORD_EST_SUD = 9,
    MUR_EST_SUD_OUEST = 10,
    MUR_PLAFOND_SOL = 11,
    MUR_SUD_OUEST = 12,
    MUR_OUEST_NORD = 13,
    MUR_NORD_EST = 14,
    MUR_EST_SUD = 15,
};

enum TARKO_COLLISION_style : tarko::Long { IN_BLOX = 1, OUTTER_BLOX = 2 };

enum Tarko_VERTEX_type : tarko::Long { vertex_TYPE = 0, Light_vertex_TYPE = 1 };
