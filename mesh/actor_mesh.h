// The Mesh each actor object takes when it is created and gives up when it
// is destroyed: the four calls, in their order, and the record freed at the end.
#pragma once

#include <memory>

#include "mesh/mesh.h"

namespace tarko::mesh {

// The calls an actor makes on its fresh mesh, in this order.
template <class M>
void hand_out_to_actor(M& mesh) {
    mesh.SetMeshName("TarkoMDLActor");
    mesh.SetStyle(32);
    mesh.SetPrimitiveType(4);
    mesh.SetVertexType(1);
}

// Held by the actor object: a Mesh made ready on creation, freed (ClearMesh,
// record marked free) on destruction. Creation raises 7 when all 1000
// records are in use.
class ActorMesh {
public:
    ActorMesh() : mesh_(std::make_unique<Mesh>()) { hand_out_to_actor(*mesh_); }
    Mesh& mesh() { return *mesh_; }
    const Mesh& mesh() const { return *mesh_; }

private:
    std::unique_ptr<Mesh> mesh_;
};

}  // namespace tarko::mesh
