-- Two hands with five fingers each: open, a fist, a pinch of thumb and index finger, a pointing finger, and a wave that runs through the fingers. The
-- right hand does the same a little later.
--
-- The body is as captured, at rest between two hops, with its hands held up; its fingers, which the capture does not have, are those of our skeleton.

local FADE, HOLD = 0.3, 0.3 -- seconds
local LEFT_ID, RIGHT_ID = 1, 2
local RIGHT_LATER = 0.6

-- Factors of thumb, index, middle, ring and pinky finger: 1 is straight, 0 curled.
local OPEN, FIST, PINCH, POINT = {1, 1, 1, 1, 1}, {0, 0, 0, 0, 0}, {0, 0.5, 0.95, 0.95, 0.95}, {0.2, 1, 0, 0, 0}
local SHAPES = {OPEN, FIST, OPEN, PINCH, POINT, OPEN}

Limbrex.enable(true)

local clip = scene.clip{file = "/usr/share/assimp/models/BVH/01_01.bvh", start = 7.35, stop = 7.5, speed = 0.02}
local rig = scene.rig{file = "../rigs/hands.character"}
local person = scene.unit{clip = clip, skeleton = "../skeletons/hands.bvh", rig = rig, name = "person"}

scene.ground(0)
scene.duration(5.4)
scene.close_up{unit = person, joint = "LeftHand", name = "left hand"}
scene.close_up{unit = person, joint = "RightHand", name = "right hand"}

local function ease(x)
    x = math.min(1, math.max(0, x))
    return x * x * (3 - 2 * x)
end

local SHAPES_END = (#SHAPES - 1) * (FADE + HOLD) + HOLD

local function factor(finger, t)
    if t >= SHAPES_END then return 0.6 + 0.4 * math.cos(6 * math.max(0, t - SHAPES_END - 0.12 * finger)) end
    local place = math.max(0, t - HOLD) / (FADE + HOLD)
    local k = math.min(math.floor(place) + 1, #SHAPES - 1)
    local share = ease((place - (k - 1)) * (FADE + HOLD) / FADE)
    return SHAPES[k][finger] + share * (SHAPES[k + 1][finger] - SHAPES[k][finger])
end

-- Unit, all fingers alike, left, the factor of all, one for each finger and the extra one; weight, blend time and id. The control of the second hand takes
-- all goals from the pose again, so the first hand is solved before it.
Limbrex.character_push_fingers_control(person, false, true, 1, 1, 1, 1, 1, 1, 1, 1.0, 0, LEFT_ID)
Limbrex.character_push_solve(person)
Limbrex.character_push_fingers_control(person, false, false, 1, 1, 1, 1, 1, 1, 1, 1.0, 0, RIGHT_ID)

function update(t)
    for id, later in pairs{[LEFT_ID] = 0, [RIGHT_ID] = RIGHT_LATER} do
        local index = Limbrex.character_get_constraint_index_from_constraint_id(person, id)
        for finger = 1, 5 do Limbrex.character_fingers_set_factor(person, index, finger, factor(finger, math.max(0, t - later))) end
    end
end
