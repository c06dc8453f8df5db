-- A standing person crouches: the hips are lowered by 30 cm and come up again, both feet stay pinned, and the knees bend to make it so. The
-- captured sway of the standing body goes on all the while.
--
-- World frame: z up, metres. Between two hops of the clip the actor stands still for two seconds; played at 0.4 of their speed.

local HIPS, LEFT_ANKLE, RIGHT_ANKLE = 0, 1, 2
local HIPS_ID, LEFT_FOOT_ID, RIGHT_FOOT_ID = 1, 2, 3

Limbrex.enable(true)

local clip = scene.clip{file = "/usr/share/assimp/models/BVH/01_01.bvh", start = 7.3, stop = 8.8, speed = 0.4}
local rig = scene.rig{file = "../rigs/hops.character"}
local person = scene.unit{clip = clip, rig = rig, name = "person"}

scene.ground(0)
scene.pin{name = "left foot", unit = person, effector = LEFT_ANKLE, id = LEFT_FOOT_ID, from = 0.4}
scene.pin{name = "right foot", unit = person, effector = RIGHT_ANKLE, id = RIGHT_FOOT_ID, from = 0.4}

local pinned, up_again = false, false

function update(t, dt)
    if not pinned and t > 0.1 then
        -- A pin keeps an effector where it is when the pin is pushed (1: in the world, not in the unit's own frame).
        Limbrex.character_push_pin(person, LEFT_ANKLE, 1, 1.0, 0.1, LEFT_FOOT_ID)
        Limbrex.character_push_pin(person, RIGHT_ANKLE, 1, 1.0, 0.1, RIGHT_FOOT_ID)
        -- An offset moves an effector from wherever the animation has it; fading in over 1.2 s makes it a movement.
        Limbrex.character_push_offset_position(person, HIPS, {0, 0, -0.30}, true, 1.0, 1.2, HIPS_ID)
        pinned = true
    end
    if not up_again and t > 2.2 then
        local index = Limbrex.character_get_constraint_index_from_constraint_id(person, HIPS_ID)
        Limbrex.character_set_blend_alpha(person, index, 0.0)
        up_again = true
    end
end
