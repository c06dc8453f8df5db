-- A captured boxer hits what moves. Both fists follow targets that circle in front of him, the right foot stays where it stands, and the
-- chest leans into the punches, carrying the hips along. Head, hands and the other leg, which have no goals, move as captured.
--
-- World frame: z up, metres. The boxer of this part of the clip looks along +y.

local LEFT_WRIST, RIGHT_WRIST, RIGHT_ANKLE, CHEST = 3, 4, 2, 10  -- effectors: the points of a body that can be given goals
local LEFT_FIST_ID, RIGHT_FIST_ID, FOOT_ID, LEAN_ID = 1, 2, 3, 4 -- ids of our choice, to find a constraint again

-- Where the targets are at time t: two circles, seen from the boxer's eyes, half a turn apart.
local function target(middle_x, phase)
    return function(t)
        local angle = 2 * math.pi * t / 1.8 + phase
        return {middle_x + 0.10 * math.cos(angle), -0.10, 1.34 + 0.10 * math.sin(angle)}
    end
end
local left_target = target(0.02, 0)
local right_target = target(0.36, math.pi)

Limbrex.enable(true)  -- the plugin does nothing until a script says so; from now on units with a rig become characters

-- The clip comes with Debian's package assimp-testmodels; the rig was made from it with `limbrex rig init`.
local clip = scene.clip{file = "/usr/share/assimp/models/BVH/Boxing_Toes.bvh", start = 13.6, stop = 17.6}
local rig = scene.rig{file = "../rigs/boxer.character"}
local boxer = scene.unit{clip = clip, rig = rig, name = "boxer"}

scene.ground(0)
scene.marker{name = "left target", position = left_target, color = "#e8b030", size = 0.06}
scene.marker{name = "right target", position = right_target, color = "#e8b030", size = 0.06}

-- What the reports measure: how near each fist is to its target once it has had time to get there, and how still the foot stands.
scene.goal{name = "left fist", unit = boxer, effector = LEFT_WRIST, id = LEFT_FIST_ID, target = left_target, from = 0.6}
scene.goal{name = "right fist", unit = boxer, effector = RIGHT_WRIST, id = RIGHT_FIST_ID, target = right_target, from = 1.0}
scene.pin{name = "right foot", unit = boxer, effector = RIGHT_ANKLE, id = FOOT_ID, from = 0.4}

local function push_once(id, push)
    if Limbrex.character_get_constraint_index_from_constraint_id(boxer, id) == -1 then push() end
end

local function move_target(id, position)
    local index = Limbrex.character_get_constraint_index_from_constraint_id(boxer, id)
    Limbrex.character_reach_position_set_position(boxer, index, position)
end

-- Called before every frame. A constraint fades in over its blend time, so nothing jumps.
function update(t, dt)
    if t > 0.1 then
        push_once(FOOT_ID, function() Limbrex.character_push_pin(boxer, RIGHT_ANKLE, 1, 1.0, 0.2, FOOT_ID) end)
        push_once(LEAN_ID, function() Limbrex.character_push_offset_position(boxer, CHEST, {0, 0.14, -0.02}, true, 1.0, 0.6, LEAN_ID) end)
        push_once(LEFT_FIST_ID, function() Limbrex.character_push_reach_position(boxer, LEFT_WRIST, left_target(t), true, 1.0, 0.4, LEFT_FIST_ID) end)
        move_target(LEFT_FIST_ID, left_target(t))
    end
    if t > 0.5 then
        push_once(RIGHT_FIST_ID, function() Limbrex.character_push_reach_position(boxer, RIGHT_WRIST, right_target(t), true, 1.0, 0.4, RIGHT_FIST_ID) end)
        move_target(RIGHT_FIST_ID, right_target(t))
    end
end
