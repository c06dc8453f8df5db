-- The built-in demonstration on a captured person's rig, two whole cycles of a minute each: hands and feet stay locked while the hips circle, then
-- while the chest bobs, then everything moves at once. It starts from the rig's stance, so the clip only gives the skeleton.
--
-- The goals leap where one part follows the other, at 20, 40 and 60 seconds; in between nothing may.

local TEST_ID = 1

Limbrex.enable(true)

local clip = scene.clip{file = "/usr/share/assimp/models/BVH/01_01.bvh", start = 7.3, stop = 8.8, loop = true}
local rig = scene.rig{file = "../rigs/hops.character"}
local person = scene.unit{clip = clip, rig = rig, name = "person"}

scene.ground(0)
scene.duration(120)
scene.rate(30)

Limbrex.character_push_test_biped(person, 1.0, 0.5, TEST_ID)
