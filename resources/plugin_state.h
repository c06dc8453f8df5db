// What the whole plugin shares. The engine calls on one thread; nothing here is guarded.
#pragma once

struct DebugLineBuffer;
struct WorldRegistry;

struct PluginState
{
    DebugLineBuffer* debugLineBuffer = nullptr;  // null: gameplay has not begun, or has ended
    WorldRegistry* worldRegistry = nullptr;
    bool disabled = true;  // scripts enable the plugin; the switch outlives a gameplay period
    bool drawRigsEnabled = false;
    bool collisionsDebugEnabled = false;
};

PluginState& plugin_state();
