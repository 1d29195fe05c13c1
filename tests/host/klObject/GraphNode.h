#pragma once

// A collector object with a handle and a persistent reference, for tests that build graphs. Its descriptor is written
// by hand.

#include <klObject/objects/Collector.h>
#include <klObject/objects/GcObject.h>
#include <klObject/objects/prefbase.h>

#include <atomic>
#include <cstddef>

namespace kelm::test
{

struct GraphNode
{
    GraphNode() { ++s_live; }
    ~GraphNode()
    {
        --s_live;
        if (s_onDestroy != nullptr)
            s_onDestroy(*this);
    }
    GraphNode(const GraphNode&) = delete;
    GraphNode& operator=(const GraphNode&) = delete;

    void OnGarbageCollect()
    {
        if (s_onGarbageCollect != nullptr)
            s_onGarbageCollect(*this);
    }

    ptr<IObject> m_next;
    prefbase m_reference;
    int32 m_value = 0;

    static inline std::atomic<int> s_live = 0;
    static inline void (*s_onGarbageCollect)(GraphNode&) = nullptr;
    static inline void (*s_onDestroy)(GraphNode&) = nullptr;
};

inline const ReflectedClass& _GetReflected(const GraphNode*)
{
    static constexpr uint8 handle[] = {FT_INTERFACE_POINTER, FT_INTERFACE, 0, 0};
    static constexpr uint8 reference[] = {FT_PREF, FT_INTERFACE, 1, 0};
    static constexpr uint8 number[] = {FT_INT32};
    static constexpr ConstStringZ names[] = {"kelm::IObject", "kelm::IPersistable"};
    static constexpr ReflectedModelField fields[] = {
        {"next", offsetof(GraphNode, m_next), handle, 0, -1, nullptr},
        {"reference", offsetof(GraphNode, m_reference), reference, 0, -1, nullptr},
        {"value", offsetof(GraphNode, m_value), number, 0, -1, nullptr},
    };
    static constexpr ConstStringZ interfaces[] = {"kelm::IPersistable"};
    static const ReflectedClass s_class = {.m_name = "test::GraphNode",
                                           .m_size = sizeof(GraphNode),
                                           .m_modelFields = fields,
                                           .m_numModelFields = 3,
                                           .m_stringTable = names,
                                           .m_interfaces = interfaces,
                                           .m_numInterfaces = 1,
                                           .m_objectFns = &GcObjectFns<GraphNode>,
                                           .m_createFn = CreateGcObject<GraphNode>};
    return s_class;
}

inline GraphNode& NodeOf(const ptr<IObject>& object)
{
    return *static_cast<GraphNode*>(object.self());
}

// A registered node.
inline ptr<IObject> NewNode(int32 value = 0)
{
    const ptr<IObject> object = CreateGcObject<GraphNode>();
    NodeOf(object).m_value = value;
    RegisterGcObject(object);
    return object;
}

inline ptr<IPersistable> NewPersistableNode(int32 value = 0)
{
    return QueryPersistable(NewNode(value));
}

} // namespace kelm::test
