-- Reaching low beside the foot with the right hand while the left hand keeps hold of a rail and both feet stay where they are. No arm is that long: the
-- goal has to draw shoulder, spine and hips after it. Two people do it, in low definition (first row) and in high definition.
--
-- World frame: z up, metres. Between two hops of the clip the actor stands still for two seconds; played at 0.4 of their speed.

local LEFT_ANKLE, RIGHT_ANKLE, LEFT_WRIST, RIGHT_WRIST = 1, 2, 3, 4
local REACH_ID, RAIL_ID, LEFT_FOOT_ID, RIGHT_FOOT_ID = 1, 2, 3, 4

Limbrex.enable(true)

local clip = scene.clip{file = "/usr/share/assimp/models/BVH/01_01.bvh", start = 7.3, stop = 8.8, speed = 0.4}
local rig = scene.rig{file = "../rigs/hops.character"}
local people = {
    {unit = scene.unit{clip = clip, rig = rig, name = "low definition", position = {1.5, 0, 0}}, low = true},
    {unit = scene.unit{clip = clip, rig = rig, name = "high definition"}, low = false},
}

scene.ground(0)
scene.duration(3.2)

local function place_of(unit, effector)
    return (Limbrex.character_get_effector_transform(unit, effector))
end

for _, person in ipairs(people) do
    person.target = vec(0, 0, 0)
    scene.goal{name = person.low and "hand (low)" or "hand (high)", unit = person.unit, effector = RIGHT_WRIST, id = REACH_ID,
               target = function() return person.target end, from = 1.6, to = 3.0}
    scene.pin{name = person.low and "rail (low)" or "rail (high)", unit = person.unit, effector = LEFT_WRIST, id = RAIL_ID, from = 0.5, to = 3.0}
    scene.pin{name = person.low and "left foot (low)" or "left foot (high)", unit = person.unit, effector = LEFT_ANKLE, id = LEFT_FOOT_ID, from = 0.5}
    scene.pin{name = person.low and "right foot (low)" or "right foot (high)", unit = person.unit, effector = RIGHT_ANKLE, id = RIGHT_FOOT_ID, from = 0.5}
end

local begun = false

function update(t, dt)
    if begun or t < 0.2 then return end
    begun = true
    for _, person in ipairs(people) do
        local unit = person.unit
        local foot, left_foot = place_of(unit, RIGHT_ANKLE), place_of(unit, LEFT_ANKLE)
        local outward = (foot - left_foot):normalized()
        person.target = vec(foot.x + 0.25 * outward.x, foot.y + 0.25 * outward.y, 0.25)
        if person.low then Limbrex.character_push_lod(unit, false, true) end
        -- A pin holds its effector at full reach and full pull: feet and rail hand decide where the body may go.
        Limbrex.character_push_pin(unit, LEFT_ANKLE, 1, 1.0, 0.1, LEFT_FOOT_ID)
        Limbrex.character_push_pin(unit, RIGHT_ANKLE, 1, 1.0, 0.1, RIGHT_FOOT_ID)
        Limbrex.character_push_pin(unit, LEFT_WRIST, 1, 1.0, 0.1, RAIL_ID)
        Limbrex.character_push_reach_position(unit, RIGHT_WRIST, person.target, true, 1.0, 1.2, REACH_ID)
        Limbrex.character_push_pull(unit, RIGHT_WRIST, 1.0, 1.2, REACH_ID + 10)
    end
end
