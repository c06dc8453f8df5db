#include "host/physics.h"

#include <cmath>
#include <vector>

#include <btBulletCollisionCommon.h>

namespace limbrex_host
{
namespace
{

// One body in the collision world. The triangle mesh and the shape that reads it live and die together.
struct Body
{
    uint32_t owner = 0;
    std::unique_ptr<btTriangleMesh> mesh;
    std::unique_ptr<btCollisionShape> shape;
    std::unique_ptr<btCollisionObject> object;
};

btVector3 to_bullet(const std::array<float, 3>& v) { return {v[0], v[1], v[2]}; }

std::array<float, 3> from_bullet(const btVector3& v) { return {v.x(), v.y(), v.z()}; }

btTransform to_bullet(const NodePose& pose)
{
    btQuaternion turn(pose.rotation[0], pose.rotation[1], pose.rotation[2], pose.rotation[3]);
    if (turn.length2() > 0.0f) { turn.normalize(); }
    else { turn = btQuaternion::getIdentity(); }
    return btTransform(turn, to_bullet(pose.position));
}

bool finite(const NodePose& pose)
{
    bool sound = true;
    for (const float value : pose.position) { sound = sound && std::isfinite(value); }
    for (const float value : pose.rotation) { sound = sound && std::isfinite(value); }
    return sound;
}

void make_shape(const ColliderShape& shape, Body& body)
{
    switch (shape.kind)
    {
    case ColliderKind::Plane: body.shape = std::make_unique<btStaticPlaneShape>(btVector3(0.0f, 0.0f, 1.0f), 0.0f); return;
    case ColliderKind::Sphere: body.shape = std::make_unique<btSphereShape>(shape.radius); return;
    case ColliderKind::Capsule:
        // A capsule's height is measured between the centres of its ends here.
        body.shape = std::make_unique<btCapsuleShapeZ>(shape.radius, shape.height - 2.0f * shape.radius);
        return;
    case ColliderKind::Mesh: break;
    }
    body.mesh = std::make_unique<btTriangleMesh>();
    for (const auto& triangle : shape.triangles)
    {
        body.mesh->addTriangle(to_bullet(shape.vertices[triangle[0]]), to_bullet(shape.vertices[triangle[1]]),
                               to_bullet(shape.vertices[triangle[2]]));
    }
    body.shape = std::make_unique<btBvhTriangleMeshShape>(body.mesh.get(), true);
}

struct NearestHit : btCollisionWorld::ClosestRayResultCallback
{
    NearestHit(const btVector3& from, const btVector3& to, const CollisionFilter* filter) : ClosestRayResultCallback(from, to)
    {
        if (filter != nullptr) { ownUnit = filter->ownUnit; }
    }

    bool needsCollision(btBroadphaseProxy* proxy) const override
    {
        const auto* const object = static_cast<const btCollisionObject*>(proxy->m_clientObject);
        const auto* const body = static_cast<const Body*>(object->getUserPointer());
        return ownUnit == 0 || body->owner != ownUnit;
    }

    uint32_t ownUnit = 0;
};

}  // namespace

struct HostPhysics::Parts
{
    btDefaultCollisionConfiguration configuration;
    btCollisionDispatcher dispatcher{&configuration};
    btDbvtBroadphase broadphase;
    btCollisionWorld world{&dispatcher, &broadphase, &configuration};
    std::vector<std::unique_ptr<Body>> bodies;  // null where one was removed

    ~Parts()
    {
        for (const auto& body : bodies)
        {
            if (body != nullptr) { world.removeCollisionObject(body->object.get()); }
        }
    }
    Body* find(size_t collider) const { return collider < bodies.size() ? bodies[collider].get() : nullptr; }
};

HostPhysics::HostPhysics() : parts(std::make_unique<Parts>()) {}

HostPhysics::~HostPhysics() = default;

size_t HostPhysics::add(const ColliderShape& shape, const NodePose& pose_world, uint32_t owner)
{
    if (!is_sound(shape) || !finite(pose_world)) { return kNone; }
    auto body = std::make_unique<Body>();
    body->owner = owner;
    make_shape(shape, *body);
    body->object = std::make_unique<btCollisionObject>();
    body->object->setCollisionShape(body->shape.get());
    body->object->setWorldTransform(to_bullet(pose_world));
    body->object->setUserPointer(body.get());
    parts->world.addCollisionObject(body->object.get(), btBroadphaseProxy::DefaultFilter, btBroadphaseProxy::AllFilter);
    const size_t number = parts->bodies.size();
    body->object->setUserIndex(static_cast<int>(number));
    parts->bodies.push_back(std::move(body));
    return number;
}

bool HostPhysics::move(size_t collider, const NodePose& pose_world)
{
    Body* const body = parts->find(collider);
    if (body == nullptr || !finite(pose_world)) { return false; }
    body->object->setWorldTransform(to_bullet(pose_world));
    parts->world.updateSingleAabb(body->object.get());
    return true;
}

bool HostPhysics::remove(size_t collider)
{
    Body* const body = parts->find(collider);
    if (body == nullptr) { return false; }
    parts->world.removeCollisionObject(body->object.get());
    parts->bodies[collider].reset();
    return true;
}

size_t HostPhysics::collider_count() const { return parts->bodies.size(); }

bool HostPhysics::cast(const std::array<float, 3>& origin, const std::array<float, 3>& direction, float length,
                       const CollisionFilter* filter, RayHit& hit) const
{
    const btVector3 from = to_bullet(origin);
    const btVector3 along = to_bullet(direction);
    const float size = along.length();
    const bool sound = std::isfinite(from.length2()) && std::isfinite(size) && size > 0.0f && std::isfinite(length) && length > 0.0f;
    if (!sound) { return false; }
    const btVector3 to = from + along * (length / size);
    NearestHit nearest(from, to, filter);
    parts->world.rayTest(from, to, nearest);
    if (!nearest.hasHit()) { return false; }
    btVector3 normal = nearest.m_hitNormalWorld;
    normal = normal.length2() > 0.0f ? normal.normalized() : -along / size;
    if (normal.dot(along) > 0.0f) { normal = -normal; }
    hit.distance = nearest.m_closestHitFraction * length;
    hit.position = from_bullet(from.lerp(to, nearest.m_closestHitFraction));
    hit.normal = from_bullet(normal);
    hit.collider = static_cast<size_t>(nearest.m_collisionObject->getUserIndex());
    return true;
}

}  // namespace limbrex_host
