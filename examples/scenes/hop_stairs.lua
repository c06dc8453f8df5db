-- A hop captured on level ground goes up a staircase: every step is as deep as a hop is long. Rays find the step under each foot, a little ahead of it in
-- flight; feet and hips are moved up by its height, and the soles are kept above it. Feet that stand are held where they landed, however the captured
-- ones slide. The arms swing as captured.
--
-- World frame: z up, metres. The hops go along -y, from y = 1.1 to y = -2.5.

local PLANT_ID, FLOOR_ID = 1, 2
local FLOOR_PIVOT, ON_THE_BALL = 122, 2  -- a property and its value
local FEET = {
    {ankle = 1, ball = 11, node = 16, joint = "LeftToeBase", ahead = 11, back = 12, turn = 13, hold = 14},
    {ankle = 2, ball = 12, node = 17, joint = "RightToeBase", ahead = 21, back = 22, turn = 23, hold = 24},
}
local LOOK_AHEAD = 0.06                   -- seconds of a flying foot's way
local HELD_BELOW, FREE_ABOVE = 0.25, 0.4  -- metres a second of the captured ball of the foot
local LETTING_GO = 0.07                   -- seconds
local BALL_HEIGHT = 0.0495                -- of the joint above a sole that stands
local SETTLING = 0.4                      -- metres a second
local SUNK = 0.03                         -- as captured, the soles are about two centimetres above the ground; the rest is for the knees

Limbrex.enable(true)

local clip = scene.clip{file = "/usr/share/assimp/models/BVH/01_01.bvh", start = 1.0, stop = 8.0}
local rig = scene.rig{file = "../rigs/walker.character"}
local hopper = scene.unit{clip = clip, rig = rig, name = "hopper"}

scene.ground(0)
scene.stairs{steps = 4, run = 0.91, rise = 0.17, width = 1.6, position = {0.52, 0.74, 0}, heading = -90}

-- The rays of plant fall through the goals of the ankles: those are moved ahead below it in the stack, and back again above it.
for _, foot in ipairs(FEET) do Limbrex.character_push_offset_position(hopper, foot.ankle, {0, 0, 0}, true, 1, 0, foot.ahead) end
-- Feet, hands, id, rays per foot, ray up and down, by the ground's height (not onto the ground), metres a second, depth, and how freely chest and hips
-- turn. Where the way ahead crosses an edge the ground jumps by a whole step; at 1.2 m/s it has arrived before the landing.
Limbrex.character_push_plant(hopper, true, false, PLANT_ID, 5, 1.5, 1.5, true, 1.2, SUNK, 1, 1)
for _, foot in ipairs(FEET) do Limbrex.character_push_offset_position(hopper, foot.ankle, {0, 0, 0}, true, 1, 0, foot.back) end
-- What follows works on the hops as they are up to here, on the steps but sliding.
Limbrex.character_push_solve(hopper)
-- A foot that turns onto the floor does so about its ball.
Limbrex.character_push_property_value(hopper, FLOOR_PIVOT, ON_THE_BALL)
-- Feet, hands, id, largest change a frame, rays, ray up and down.
Limbrex.character_push_floor(hopper, true, false, FLOOR_ID, 0.04, 5, 1.5, 1.5)
for _, foot in ipairs(FEET) do
    Limbrex.character_push_offset_rotation(hopper, foot.ankle, {0, 0, 1}, 0, true, 0, 0, foot.turn)  -- by nothing: the ankle keeps its turn
    Limbrex.character_push_reach_position(hopper, foot.ball, {0, 0, 0}, true, 0, 0, foot.hold)
end

local function index(id) return Limbrex.character_get_constraint_index_from_constraint_id(hopper, id) end

local function weigh(foot, weight, time)
    for _, id in ipairs{foot.turn, foot.hold} do
        Limbrex.character_set_blend_time(hopper, index(id), time)
        Limbrex.character_set_blend_alpha(hopper, index(id), weight)
    end
end

local function look_ahead(foot, velocity)
    local way = vec(velocity.x, velocity.y, 0) * (foot.place and 0 or LOOK_AHEAD)
    Limbrex.character_offset_position_set_vector(hopper, index(foot.ahead), way)
    Limbrex.character_offset_position_set_vector(hopper, index(foot.back), way * -1)
end

-- Where the foot stands, and down onto the ground there if it has been stopped a little above it.
local function hold(foot, speed, dt)
    if not foot.place and speed < HELD_BELOW then
        foot.place = hopper:node_position(foot.joint)
        weigh(foot, 1, 0)
    elseif foot.place and speed > FREE_ABOVE then
        foot.place = nil
        weigh(foot, 0, LETTING_GO)
    end
    if not foot.place then return end
    local ground = scene.ray(foot.place + vec(0, 0, 1), vec(0, 0, -1), 3, hopper)
    local down = ground.z + BALL_HEIGHT - foot.place.z
    foot.place = foot.place + vec(0, 0, math.max(-SETTLING * dt, math.min(SETTLING * dt, down)))
    Limbrex.character_reach_position_set_position(hopper, index(foot.hold), foot.place)
end

function update(t, dt)
    if t < 0.5 * dt then return end
    for _, foot in ipairs(FEET) do
        local now = Limbrex.character_get_node_position(hopper, foot.node, 1)  -- as captured
        local velocity = (now - (foot.was or now)) / dt
        if foot.was then
            look_ahead(foot, velocity)
            hold(foot, math.sqrt(velocity.x ^ 2 + velocity.y ^ 2 + velocity.z ^ 2), dt)
        end
        foot.was = now
    end
end
