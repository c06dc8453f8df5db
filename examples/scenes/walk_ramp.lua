-- The captured walk again, up a ramp of 15 degrees: feet and hips rise with the slope, and the soles are turned to it.
--
-- World frame: z up, metres. The walk turns from -x to +y; the ramp lies along its middle.

local PLANT_ID, FLOOR_ID = 1, 2
local LENGTH, SLOPE_DEG = 3.2, 15

Limbrex.enable(true)

local clip = scene.clip{file = "/usr/share/assimp/models/BVH/01_03.bvh", start = 0.1, stop = 2.45}
local rig = scene.rig{file = "../rigs/hops.character"}  -- the same person as in the hops
local walker = scene.unit{clip = clip, rig = rig, name = "walker"}

scene.ground(0)
scene.ramp{length = LENGTH, width = 2.4, height = LENGTH * math.tan(math.rad(SLOPE_DEG)), position = {-0.06, -1.6, 0}, heading = 131.3}

-- See walk_stairs.lua for the arguments. A slope changes little from frame to frame, so the height needs no smoothing.
Limbrex.character_push_plant(walker, true, false, PLANT_ID, 5, 1.5, 1.5, true, 0, 0, 1, 1)
Limbrex.character_push_floor(walker, true, false, FLOOR_ID, 0, 5, 1.5, 1.5)
