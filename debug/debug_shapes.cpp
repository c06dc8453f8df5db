#include "debug/debug_shapes.h"

#include "debug/line_buffer.h"
#include "resources/host_services.h"
#include "resources/plugin_state.h"

void draw_line(const CharacterContext* context, Vec4 start_world, Vec4 end_world, uint32_t colour)
{
    if (!context || !host_services().line || !plugin_state().debugLineBuffer) return;
    record_line(*plugin_state().debugLineBuffer, colour, &start_world.x, &end_world.x);
}

void draw_marker(const CharacterContext* context, Vec4 centre_world, float half_size, uint32_t colour)
{
    const Vec4 arms[] = {{half_size, 0.0f, 0.0f, 0.0f}, {0.0f, half_size, 0.0f, 0.0f}, {0.0f, 0.0f, half_size, 0.0f}};
    for (const Vec4 arm : arms) draw_line(context, sub3(centre_world, arm), add3(centre_world, arm), colour);
}

void draw_box(const CharacterContext* context, Vec4 centre_world, Quat rotation_world, float edge, uint32_t colour)
{
    // Corner i lies on the far side of axis k where bit k of i is set; an edge joins two corners that differ in one bit.
    const float half = 0.5f * edge;
    Vec4 corners[8];
    for (int i = 0; i < 8; ++i)
    {
        const Vec4 offset = {(i & 1) != 0 ? half : -half, (i & 2) != 0 ? half : -half, (i & 4) != 0 ? half : -half, 0.0f};
        corners[i] = add3(centre_world, rotate(rotation_world, offset));
    }
    for (int i = 0; i < 8; ++i)
    {
        for (int axis_bit = 1; axis_bit < 8; axis_bit <<= 1)
        {
            if ((i & axis_bit) == 0) draw_line(context, corners[i], corners[i | axis_bit], colour);
        }
    }
}
