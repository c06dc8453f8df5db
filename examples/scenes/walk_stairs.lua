-- A captured walk on level ground goes up three steps, each as deep as a stride is long. Rays find the step under each foot, feet and hips are
-- moved up by its height, and the soles are kept above it. The arms swing as captured.
--
-- World frame: z up, metres. The walk turns from -x to +y; the stairs lie along its middle.

local PLANT_ID, FLOOR_ID = 1, 2

Limbrex.enable(true)

local clip = scene.clip{file = "/usr/share/assimp/models/BVH/01_03.bvh", start = 0.1, stop = 2.45}
local rig = scene.rig{file = "../rigs/hops.character"}  -- the same person as in the hops
local walker = scene.unit{clip = clip, rig = rig, name = "walker"}

scene.ground(0)
scene.stairs{steps = 3, run = 0.57, rise = 0.14, width = 1.8, position = {-0.818, -0.734, 0}, heading = 131.3}

-- Feet, hands, id, rays per foot, ray up and down, by the ground's height (not onto the ground), metres a second, depth, and how freely chest
-- and hips turn. Where a foot swings across an edge the ground jumps by a whole step; at 2 m/s it has arrived before the foot comes down.
Limbrex.character_push_plant(walker, true, false, PLANT_ID, 5, 1.0, 1.5, true, 2.0, 0, 1, 1)
-- Feet, hands, id, largest change a frame, rays, ray up and down.
Limbrex.character_push_floor(walker, true, false, FLOOR_ID, 0.02, 5, 1.0, 1.5)
