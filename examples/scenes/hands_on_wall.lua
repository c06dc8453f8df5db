-- Leaning with both hands flat on a wall, fingers up. The wall gives way, and the lean follows it; then it comes back, nearer than before, and the
-- elbows take up what is left. The feet stay where they are.
--
-- World frame: z up, metres. The actor, at rest between two hops, looks along -y; played at 0.28 of their speed. The wall's face looks along +y.

local HIPS, LEFT_ANKLE, RIGHT_ANKLE, LEFT_WRIST, RIGHT_WRIST = 0, 1, 2, 3, 4
local LEFT_REACH, RIGHT_REACH, LEFT_TURN, RIGHT_TURN, LEFT_FOOT, RIGHT_FOOT, LEAN = 1, 2, 3, 4, 5, 6, 7
local PALM = 0.02                     -- from the joints of the hand to the wall, metres
local HEIGHT, HALF_SPAN = 1.12, 0.17  -- of the wrists above the ground and from the middle
local BEGIN, TOUCH = 0.2, 1.0         -- seconds: the hands leave their place, and are on the wall

Limbrex.enable(true)

local clip = scene.clip{file = "/usr/share/assimp/models/BVH/01_01.bvh", start = 7.3, stop = 8.3, speed = 0.28}
local rig = scene.rig{file = "../rigs/hands.character"}
local person = scene.unit{clip = clip, skeleton = "../skeletons/hands.bvh", rig = rig, name = "person"}

local feet = vec(0, -2.6, 0) -- their middle; measured before the hands go up

local function ease(x)
    x = math.min(1, math.max(0, x))
    return x * x * (3 - 2 * x)
end

-- How far the wall is in front of the feet.
local function distance(t) return 0.58 + 0.12 * ease((t - 1.3) / 0.8) - 0.30 * ease((t - 2.3) / 1.0) end

local function face(t) return feet.y - distance(t) end

local function target(side)
    return function(t) return vec(feet.x + side * HALF_SPAN, face(t) + PALM, HEIGHT) end
end
local left_target, right_target = target(1), target(-1)

-- The hips go along with what is out of the arms' reach; chest and shoulders follow by themselves.
local function lean(t) return vec(0, -0.5 * (distance(t) - 0.35), -0.04) end

scene.ground(0)
scene.box{name = "wall", size = {1.6, 0.1, 1.9}, position = function(t) return vec(feet.x, face(t) - 0.05, 0.95) end}
scene.duration(3.7)
scene.close_up{unit = person, joint = "LeftHand", name = "left hand"}
scene.close_up{unit = person, joint = "RightHand", name = "right hand"}
scene.goal{name = "left hand", unit = person, effector = LEFT_WRIST, id = LEFT_REACH, target = left_target, from = TOUCH}
scene.goal{name = "right hand", unit = person, effector = RIGHT_WRIST, id = RIGHT_REACH, target = right_target, from = TOUCH}
scene.pin{name = "left foot", unit = person, effector = LEFT_ANKLE, id = LEFT_FOOT, from = BEGIN + 0.2}
scene.pin{name = "right foot", unit = person, effector = RIGHT_ANKLE, id = RIGHT_FOOT, from = BEGIN + 0.2}

local function begin(t)
    feet = (person:node_position("LeftFoot") + person:node_position("RightFoot")) * 0.5
    Limbrex.character_push_pin(person, LEFT_ANKLE, 1, 1.0, 0.1, LEFT_FOOT)
    Limbrex.character_push_pin(person, RIGHT_ANKLE, 1, 1.0, 0.1, RIGHT_FOOT)
    Limbrex.character_push_offset_position(person, HIPS, lean(t), true, 1.0, TOUCH - BEGIN, LEAN)
    for _, hand in ipairs{{LEFT_WRIST, left_target, 1, LEFT_REACH, LEFT_TURN}, {RIGHT_WRIST, right_target, -1, RIGHT_REACH, RIGHT_TURN}} do
        local wrist, place, side, reach, turn = table.unpack(hand)
        Limbrex.character_push_reach_position(person, wrist, place(t), true, 1.0, TOUCH - BEGIN, reach)
        -- Turns count from the T-stance, in which fingers point sideways and palms down: the palms go forward, then the fingers up.
        Limbrex.character_push_reach_orientation(person, wrist, {-90, 0, 90 * side}, false, 1.0, TOUCH - BEGIN, turn)
        Limbrex.character_push_pull(person, wrist, 1.0, TOUCH - BEGIN, 10 + reach)
    end
end

local function constraint(id) return Limbrex.character_get_constraint_index_from_constraint_id(person, id) end

local nearest, farthest = 1, 0

-- Of the last frame's solved pose: the gaps between the wall and the joints and tips of the hands.
local function measure(t)
    for _, side in ipairs{"Left", "Right"} do
        for _, joint in ipairs{"", "Thumb1", "Thumb3_end", "Index1", "Index3_end", "Middle3_end", "Pinky1", "Pinky3_end"} do
            local gap = person:node_position(side .. "Hand" .. joint).y - face(t)
            nearest, farthest = math.min(nearest, gap), math.max(farthest, gap)
        end
    end
end

function update(t, dt)
    if t < BEGIN then return end
    if constraint(LEAN) < 0 then return begin(t) end
    Limbrex.character_offset_position_set_vector(person, constraint(LEAN), lean(t))
    Limbrex.character_reach_position_set_position(person, constraint(LEFT_REACH), left_target(t))
    Limbrex.character_reach_position_set_position(person, constraint(RIGHT_REACH), right_target(t))
    if t > TOUCH + 0.1 then measure(t - dt) end
end

function stop()
    scene.note(string.format("joints and tips of the hands are %.1f to %.1f mm in front of the wall", 1000 * nearest, 1000 * farthest))
end
