-- A captured walk on level ground goes up three steps, each as deep as a stride is long. Rays find the step under each foot, a little ahead of it while
-- it swings, so that it is up before it meets the riser. A foot that stands is held where it came down, however the captured one slides, until its toes
-- leave; the soles are kept above the ground, and the body rises as the feet under it do. The arms swing as captured.
--
-- World frame: z up, metres. The walk turns from -x to +y; the stairs lie along its middle.

local PLANT_ID, FLOOR_ID, HIPS_ID = 1, 2, 3
local FLOOR_PIVOT, ON_THE_BALL = 122, 2  -- a property and its value
local HIPS = 0
local FEET = {
    {ankle = 1, ball = 11, node = 16, joint = "LeftToeBase", ahead = 11, back = 12, turn = 13, hold = 14},
    {ankle = 2, ball = 12, node = 17, joint = "RightToeBase", ahead = 21, back = 22, turn = 23, hold = 24},
}
local LOOK_AHEAD = 0.16                   -- seconds of a swinging foot's way
local HELD_BELOW, FREE_ABOVE = 0.25, 0.4  -- metres a second of the captured ball of the foot
local LETTING_GO = 0.15                   -- seconds
local BALL_HEIGHT = 0.0495                -- of the joint above a sole that stands
local SETTLING = 0.4                      -- metres a second
local CROUCH = 0.04                       -- the captured legs are nearly straight; this leaves them something to climb with
local CARRIED = 0.1                       -- seconds in which the body follows the feet that it stands on

Limbrex.enable(true)

local clip = scene.clip{file = "/usr/share/assimp/models/BVH/01_03.bvh", start = 0.1, stop = 2.45}
local rig = scene.rig{file = "../rigs/walker.character"}
local walker = scene.unit{clip = clip, rig = rig, name = "walker"}

scene.ground(0)
scene.stairs{steps = 3, run = 0.56, rise = 0.14, width = 1.8, position = {-0.838, -0.711, 0}, heading = 131.3}

-- The rays of plant fall through the goals of the ankles: those are moved ahead below it in the stack, and back again above it.
for _, foot in ipairs(FEET) do Limbrex.character_push_offset_position(walker, foot.ankle, {0, 0, 0}, true, 1, 0, foot.ahead) end
-- Feet, hands, id, rays per foot, ray up and down, by the ground's height (not onto the ground), metres a second, depth, and how freely chest and hips
-- turn. Where the way ahead crosses an edge the ground jumps by a whole step; at 1.2 m/s it has arrived before the foot comes down.
Limbrex.character_push_plant(walker, true, false, PLANT_ID, 5, 1.0, 1.5, true, 1.2, 0, 1, 1)
for _, foot in ipairs(FEET) do Limbrex.character_push_offset_position(walker, foot.ankle, {0, 0, 0}, true, 1, 0, foot.back) end
Limbrex.character_push_offset_position(walker, HIPS, {0, 0, -CROUCH}, true, 1, 0, HIPS_ID)
-- What follows works on the walk as it is up to here, on the steps but sliding.
Limbrex.character_push_solve(walker)
-- A foot that turns onto the floor does so about its ball.
Limbrex.character_push_property_value(walker, FLOOR_PIVOT, ON_THE_BALL)
-- Feet, hands, id, largest change a frame, rays, ray up and down.
Limbrex.character_push_floor(walker, true, false, FLOOR_ID, 0.02, 5, 1.0, 1.5)
for _, foot in ipairs(FEET) do
    Limbrex.character_push_offset_rotation(walker, foot.ankle, {0, 0, 1}, 0, true, 0, 0, foot.turn)  -- by nothing: the ankle keeps its turn
    Limbrex.character_push_reach_position(walker, foot.ball, {0, 0, 0}, true, 0, 0, foot.hold)
end

local function index(id) return Limbrex.character_get_constraint_index_from_constraint_id(walker, id) end

local function weigh(foot, weight, time)
    for _, id in ipairs{foot.turn, foot.hold} do
        Limbrex.character_set_blend_time(walker, index(id), time)
        Limbrex.character_set_blend_alpha(walker, index(id), weight)
    end
end

local function look_ahead(foot, velocity)
    local way = vec(velocity.x, velocity.y, 0) * (foot.place and 0 or LOOK_AHEAD)
    Limbrex.character_offset_position_set_vector(walker, index(foot.ahead), way)
    Limbrex.character_offset_position_set_vector(walker, index(foot.back), way * -1)
end

-- Where the foot stands, and down onto the ground there if it has been stopped a little above it.
local function hold(foot, speed, dt)
    if not foot.place and speed < HELD_BELOW then
        foot.place = walker:node_position(foot.joint)
        weigh(foot, 1, 0)
    elseif foot.place and speed > FREE_ABOVE then
        foot.place = nil
        weigh(foot, 0, LETTING_GO)
    end
    if not foot.place then return end
    local ground = scene.ray(foot.place + vec(0, 0, 1), vec(0, 0, -1), 3, walker)
    local down = ground.z + BALL_HEIGHT - foot.place.z
    foot.place = foot.place + vec(0, 0, math.max(-SETTLING * dt, math.min(SETTLING * dt, down)))
    Limbrex.character_reach_position_set_position(walker, index(foot.hold), foot.place)
end

-- Plant carries the hips at the mean of both feet's ground, found ahead of the one that swings. The body rises later, with the feet that it stands on.
local carried
local function carry(dt)
    local sum, count = 0, 0
    for _, foot in ipairs(FEET) do
        if foot.place then sum, count = sum + foot.place.z - BALL_HEIGHT, count + 1 end
    end
    if count > 0 then
        carried = carried or sum / count
        carried = carried + (sum / count - carried) * (1 - math.exp(-dt / CARRIED))
    end
    if not carried or Limbrex.character_num_markers(walker) < 2 then return end
    local left, right = Limbrex.character_get_marker_position(walker, 1), Limbrex.character_get_marker_position(walker, 2)  -- of plant
    Limbrex.character_offset_position_set_vector(walker, index(HIPS_ID), {0, 0, carried - 0.5 * (left.z + right.z) - CROUCH})
end

function update(t, dt)
    if t < 0.5 * dt then return end
    for _, foot in ipairs(FEET) do
        local now = Limbrex.character_get_node_position(walker, foot.node, 1)  -- as captured
        local velocity = (now - (foot.was or now)) / dt
        if foot.was then
            look_ahead(foot, velocity)
            hold(foot, math.sqrt(velocity.x ^ 2 + velocity.y ^ 2 + velocity.z ^ 2), dt)
        end
        foot.was = now
    end
    carry(dt)
end
