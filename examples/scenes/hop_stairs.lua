-- A hop captured on level ground goes up a staircase: every step is as deep as a hop is long. Rays find the step under each foot, feet and hips
-- are moved up by its height, and the soles are kept above it. The arms swing as captured.
--
-- World frame: z up, metres. The hops go along -y, from y = 1.1 to y = -2.5.

local PLANT_ID, FLOOR_ID = 1, 2

Limbrex.enable(true)

local clip = scene.clip{file = "/usr/share/assimp/models/BVH/01_01.bvh", start = 1.0, stop = 8.0}
local rig = scene.rig{file = "../rigs/hops.character"}
local hopper = scene.unit{clip = clip, rig = rig, name = "hopper"}

scene.ground(0)
scene.stairs{steps = 4, run = 0.91, rise = 0.17, width = 1.6, position = {0.52, 0.74, 0}, heading = -90}

-- Feet, hands, id, rays per foot, ray up and down, by the ground's height (not onto the ground), metres a second, depth, and how freely chest
-- and hips turn. Crossing an edge in flight the ground jumps by a whole step; at 1.2 m/s it has arrived before the landing.
Limbrex.character_push_plant(hopper, true, false, PLANT_ID, 5, 1.5, 1.5, true, 1.2, 0, 1, 1)
-- Feet, hands, id, largest change a frame, rays, ray up and down.
Limbrex.character_push_floor(hopper, true, false, FLOOR_ID, 0.04, 5, 1.5, 1.5)
