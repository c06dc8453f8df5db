// The shapes of debug drawing, in the world. They end up in the plugin's line buffer; nothing is drawn for an engine without a line service or
// on behalf of no context. Colours are 0xAARRGGBB.
#pragma once

#include <cstdint>

#include "contexts/spatial.h"

struct CharacterContext;

void draw_line(const CharacterContext* context, Vec4 start_world, Vec4 end_world, uint32_t colour);
// Three strokes along the world's axes.
void draw_marker(const CharacterContext* context, Vec4 centre_world, float half_size, uint32_t colour);
// The twelve edges of a cube.
void draw_box(const CharacterContext* context, Vec4 centre_world, Quat rotation_world, float edge, uint32_t colour);
