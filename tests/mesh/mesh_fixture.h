// A fixture base that empties the mesh module around each test; `mesh` is released first.
#pragma once

#include <memory>

#include <gtest/gtest.h>

#include "mesh/mesh.h"

namespace tarko::test {

template <class Base = ::testing::Test>
class MeshModuleTest : public Base {
protected:
    void SetUp() override {
        Base::SetUp();
        mesh::reset_module();
    }
    void TearDown() override {
        mesh.reset();
        mesh::reset_module();
        Base::TearDown();
    }
    std::unique_ptr<Mesh> mesh;
};

}  // namespace tarko::test
