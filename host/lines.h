// Debug lines as an engine draws them: a drawing context per world, line objects made from it, and what was dispatched this frame.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "host/recording.h"

namespace limbrex_host
{

struct HostLineObject
{
    std::vector<LineRecording> lines;
};

class HostDrawing
{
public:
    HostLineObject* create();
    bool destroy(const HostLineObject* object);  // false: not of this drawing context
    bool owns(const HostLineObject* object) const;

    // Lines that are not finite are left out; `skipped_lines` counts them.
    void add_lines(HostLineObject& object, const uint32_t* colours, const float* starts, const float* ends, uint32_t count);
    // The object's lines appear in this frame.
    void dispatch(const HostLineObject& object);

    std::vector<LineRecording> take_frame();  // what was dispatched since the last call
    size_t object_count() const { return objects.size(); }
    uint64_t skipped_lines() const { return skippedLines; }

    static constexpr size_t kLineCapacity = 1'000'000;  // of one object

private:
    std::vector<std::unique_ptr<HostLineObject>> objects;
    std::vector<LineRecording> frameLines;
    uint64_t skippedLines = 0;
};

}  // namespace limbrex_host
