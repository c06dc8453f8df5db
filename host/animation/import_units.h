// Unit and up axis of an imported asset: what they are, where files do not say, and turning the asset to y up and metres.
#pragma once

#include "host/animation/clip.h"
#include "host/animation/import.h"

namespace limbrex_host
{

// Height of the body in the asset's unit, from bone lengths alone (so any pose will do): hips to head and hips to foot along
// the joints, found by name. 0 unless a head, two feet and hands are named.
double body_height(const Skeleton& skeleton);

// Z when, over the clip, the head stands clear of the feet along z rather than y; Y otherwise.
UpAxis guess_up_axis(const Asset& asset);

// Metres per unit: `declared` (what the format or file says, 0 = nothing) if it makes a body of 1.3 to 2.2 m or the body is not
// recognised as human, else the usual unit that does, else the one that makes 1.75 m. Says its reason in `notes`.
double guess_metres_per_unit(const Skeleton& skeleton, double declared, std::vector<std::string>& notes);

// Turns z-up assets to y up (every frame of reference along with it, so that unturned joints stay unturned) and scales lengths.
void turn_to_y_up(Asset& asset);
void scale_lengths(Asset& asset, double factor);

// What a format or file says of itself.
struct DeclaredFrame
{
    double metresPerUnit = 0.0;  // 0 = nothing
    bool yUp = false;            // false = nothing
};

// Both of the above as `options` say, else as the file declares, else as the asset suggests.
void settle_frame_and_unit(Asset& asset, const ImportOptions& options, const DeclaredFrame& declared);

}  // namespace limbrex_host
