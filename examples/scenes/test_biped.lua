-- The built-in demonstration on a captured person's rig, two whole cycles of a minute each: hands and feet stay locked while the hips circle, then
-- while the chest bobs, then everything moves at once. It starts from the rig's stance, so the clip only gives the skeleton.
--
-- The demonstration's goals leap where one part follows the other, at 20, 40 and 60 seconds. So its weight is taken away before and given back after. The
-- hands' turns, which the third part gives back as that weight goes, are written by constraints above it that move nothing.

local TEST_ID = 1
local HANDS = {18, 19}
local PART, FADE = 20, 1.0 -- seconds

Limbrex.enable(true)

local clip = scene.clip{file = "/usr/share/assimp/models/BVH/01_01.bvh", start = 7.3, stop = 7.35, speed = 0}
local rig = scene.rig{file = "../rigs/hops.character"}
local person = scene.unit{clip = clip, rig = rig, name = "person"}

scene.ground(0)
scene.duration(120)
scene.rate(60)

Limbrex.character_push_test_biped(person, 0.0, 0, TEST_ID)

for _, hand in ipairs(HANDS) do
    Limbrex.character_push_offset_rotation(person, hand, {0, 0, 1}, 0, true, 0, 0, hand)
end

local function ease(x)
    x = math.min(1, math.max(0, x))
    return x * x * x * (10 - 15 * x + 6 * x * x)
end

function update(t)
    local into = t % PART
    local weight = ease(into / FADE) * ease((PART - into) / FADE)
    local third = t % (3 * PART) >= 2 * PART
    local function set(id, alpha)
        Limbrex.character_set_blend_alpha(person, Limbrex.character_get_constraint_index_from_constraint_id(person, id), alpha)
    end
    set(TEST_ID, weight)
    for _, hand in ipairs(HANDS) do set(hand, third and 0 or weight) end
end
