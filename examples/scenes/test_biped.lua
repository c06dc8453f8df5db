-- The built-in demonstration on a captured person's rig, two whole cycles of a minute each: hands and feet stay locked while the hips circle, then
-- while the chest bobs, then everything moves at once. It starts from the rig's stance, so the clip only gives the skeleton.
--
-- The demonstration's goals leap where one part follows the other, at 20, 40 and 60 seconds. So its weight is taken away before and given back after:
-- what is left of a leap at weight 0 are the hands' own turns in the third part.

local TEST_ID = 1
local PART, FADE = 20, 1.0 -- seconds

Limbrex.enable(true)

local clip = scene.clip{file = "/usr/share/assimp/models/BVH/01_01.bvh", start = 7.3, stop = 7.35, speed = 0}
local rig = scene.rig{file = "../rigs/hops.character"}
local person = scene.unit{clip = clip, rig = rig, name = "person"}

scene.ground(0)
scene.duration(120)
scene.rate(60)

Limbrex.character_push_test_biped(person, 1.0, FADE, TEST_ID)

function update(t)
    local index = Limbrex.character_get_constraint_index_from_constraint_id(person, TEST_ID)
    Limbrex.character_set_blend_alpha(person, index, t % PART < PART - FADE and 1 or 0)
end
