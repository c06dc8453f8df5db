-- A two-handed hang: a bar above the head rises, both hands keep hold of it, and the body follows. First the arms and the spine stretch, then the hips
-- lift over straightening legs, and last the feet leave their place. Low definition in the first row, high definition in the second.
--
-- World frame: z up, metres. Between two hops of the clip the actor stands still for two seconds; played at 0.4 of their speed.

local LEFT_ANKLE, RIGHT_ANKLE, LEFT_WRIST, RIGHT_WRIST = 1, 2, 3, 4
local LEFT_ID, RIGHT_ID = 1, 2
local BAR_FROM, BAR_RISE, RISE_FROM, RISE_TO = 1.50, 0.75, 1.2, 3.0  -- metres, seconds

Limbrex.enable(true)

local clip = scene.clip{file = "/usr/share/assimp/models/BVH/01_01.bvh", start = 7.3, stop = 8.8, speed = 0.4}
local rig = scene.rig{file = "../rigs/hops.character"}
local people = {
    {unit = scene.unit{clip = clip, rig = rig, name = "low definition", position = {1.5, 0, 0}}, low = true},
    {unit = scene.unit{clip = clip, rig = rig, name = "high definition"}, low = false},
}
local hands = {{effector = LEFT_WRIST, id = LEFT_ID, side = 1, name = "left hand"}, {effector = RIGHT_WRIST, id = RIGHT_ID, side = -1, name = "right hand"}}

scene.ground(0)
scene.duration(3.2)

local function rise(t)
    local s = math.max(0, math.min(1, (t - RISE_FROM) / (RISE_TO - RISE_FROM)))
    return BAR_RISE * s * s * (3 - 2 * s)
end

for _, person in ipairs(people) do
    person.targets = {vec(0, 0, 0), vec(0, 0, 0)}
    for k, hand in ipairs(hands) do
        scene.goal{name = hand.name, unit = person.unit, effector = hand.effector, id = hand.id, target = function() return person.targets[k] end, from = 1.2}
    end
end

local begun = false

function update(t, dt)
    if t < 0.2 then return end
    for _, person in ipairs(people) do
        local unit = person.unit
        if not begun then
            local left = (Limbrex.character_get_effector_transform(unit, LEFT_ANKLE))
            local right = (Limbrex.character_get_effector_transform(unit, RIGHT_ANKLE))
            person.middle = (left + right) * 0.5
            person.across = vec(left.x - right.x, left.y - right.y, 0):normalized()
            if person.low then Limbrex.character_push_lod(unit, false, true) end
            -- The feet want to stay, but the hands pull harder than they do.
            for _, foot in ipairs{LEFT_ANKLE, RIGHT_ANKLE} do
                Limbrex.character_push_pin(unit, foot, 1, 1.0, 0.1, 10 + foot)
                Limbrex.character_push_pull(unit, foot, 0.6, 0.0, 20 + foot)
            end
        end
        for k, hand in ipairs(hands) do
            local target = vec(person.middle.x + 0.22 * hand.side * person.across.x, person.middle.y + 0.22 * hand.side * person.across.y,
                               BAR_FROM + rise(t))
            person.targets[k] = target
            if begun then
                local index = Limbrex.character_get_constraint_index_from_constraint_id(unit, hand.id)
                Limbrex.character_reach_position_set_position(unit, index, target)
            else
                Limbrex.character_push_reach_position(unit, hand.effector, target, true, 1.0, 0.9, hand.id)
                Limbrex.character_push_pull(unit, hand.effector, 1.0, 0.9, 30 + hand.id)
            end
        end
    end
    begun = true
end
