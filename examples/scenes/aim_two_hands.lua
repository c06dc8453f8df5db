-- Two hands hold something long and point it at a target that wanders about: the right wrist carries it and its fingers say where it points. Chest,
-- shoulder, elbow and wrist turn by their shares, the body is solved, and the left hand is put back where it held the thing.
--
-- World frame: z up, metres. The actor, at rest between two hops, looks along -y; played at 0.12 of their speed.

local RIGHT_WRIST = 4
local AIM_ID = 1

local function target(t)
    local angle = 2 * math.pi * t / 3
    return {0.45 + 0.7 * math.sin(angle), -4.3, 1.05 + 0.3 * math.sin(2 * angle)}
end

Limbrex.enable(true)

local clip = scene.clip{file = "/usr/share/assimp/models/BVH/01_01.bvh", start = 7.3, stop = 7.7, speed = 0.12}
local rig = scene.rig{file = "../rigs/hops.character"}
local person = scene.unit{clip = clip, rig = rig, name = "person"}

scene.ground(0)
scene.marker{name = "target", position = target, color = "#e8b030", size = 0.08}

local aiming = false
local worst_deg, shortest_grip, longest_grip = 0, 1e9, 0

local function from_to(a, b) return {b[1] - a[1], b[2] - a[2], b[3] - a[3]} end
local function dot(a, b) return a[1] * b[1] + a[2] * b[2] + a[3] * b[3] end

-- Of the last frame's solved pose: how far the fingers point beside the target, and how far apart the hands are.
local function measure(t)
    local hand, other = person:node_position("RightHand"), person:node_position("LeftHand")
    local pointing, wanted = from_to(hand, person:node_position("RFingers")), from_to(hand, target(t))
    local cosine = dot(pointing, wanted) / math.sqrt(dot(pointing, pointing) * dot(wanted, wanted))
    local grip = math.sqrt(dot(from_to(hand, other), from_to(hand, other)))
    worst_deg = math.max(worst_deg, math.deg(math.acos(math.min(1, cosine))))
    shortest_grip, longest_grip = math.min(shortest_grip, grip), math.max(longest_grip, grip)
end

function stop()
    scene.note(string.format("points at most %.1f degrees beside the target; hands %.3f to %.3f m apart", worst_deg, shortest_grip, longest_grip))
end

function update(t, dt)
    if not aiming then
        -- Unit, effector that carries the thing, shares of hips, chest, shoulder and elbow (the wrist takes the rest), reference node, two hands, target
        -- unit and effector or nil, position, the position counts, an angle without use, no solve in place; weight, seconds to fade in, id.
        Limbrex.character_push_aim(person, RIGHT_WRIST, 0, 0.2, 0.35, 0.5, person:node_index("RFingers"), true, nil, 0, target(t), true, 0, false, 1.0, 0.6, AIM_ID)
        aiming = true
        return
    end
    local index = Limbrex.character_get_constraint_index_from_constraint_id(person, AIM_ID)
    Limbrex.character_aim_set_target_position(person, index, target(t))
    if t > 0.8 then measure(t - dt) end
end
