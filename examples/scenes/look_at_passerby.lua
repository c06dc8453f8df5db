-- Somebody standing watches somebody else walk past: the head follows the other's head, the chest takes a part of the turn, and everything else
-- stands as captured.
--
-- World frame: z up, metres. The one who stands looks along -y, the other crosses from his right to his left, a metre and a half away.

local HEAD = 15
local LOOK_ID = 1

Limbrex.enable(true)

-- Both motions are of one actor: a rest between two hops, and a walk that turns; the heading lays it across the other's view.
local rest = scene.clip{file = "/usr/share/assimp/models/BVH/01_01.bvh", start = 7.3, stop = 7.8, speed = 0.17}
local walk = scene.clip{file = "/usr/share/assimp/models/BVH/01_03.bvh", start = 0.1, stop = 2.45, speed = 0.8}
local rig = scene.rig{file = "../rigs/hops.character"}
local watcher = scene.unit{clip = rest, rig = rig, name = "watcher"}
local walker = scene.unit{clip = walk, rig = rig, name = "walker", position = {0.2, -4.86, 0}, heading = -128}

scene.ground(0)
scene.duration(2.9)

local watching = false

function update(t, dt)
    if watching or t < 0.1 then return end
    -- Unit, target unit and its effector, a position for when there is no unit, the position instead of the unit, in the horizontal only, the chest's
    -- share, degrees per second, limits on, to the sides, up and down; then weight, seconds to fade in, id. A look begins along the world's +y, behind
    -- this head, so it has to be quick to be on the target before the weight is there.
    Limbrex.character_push_look_at(watcher, walker, HEAD, {0, 0, 0}, false, false, 0.25, 720, true, 70, 30, 1.0, 0.5, LOOK_ID)
    watching = true
end
