-- Pushing against something that gives way and comes back: both hands are on a wall that moves toward the person. Folded arms pass a part of the push on
-- to the body, and the chest resists: the person leans into it, knees bent, feet where they are. Low definition in the first row.
--
-- World frame: z up, metres. Between two hops of the clip the actor stands still for two seconds; played at 0.4 of their speed.

local LEFT_ANKLE, RIGHT_ANKLE, LEFT_WRIST, RIGHT_WRIST, CHEST_END = 1, 2, 3, 4, 10
local LEFT_ELBOW, RIGHT_ELBOW = 7, 8
local LEFT_ID, RIGHT_ID = 1, 2
local FAR, NEAR, HEIGHT = 0.70, 0.30, 1.15  -- of the hands, metres in front of the feet and above the ground

Limbrex.enable(true)

local clip = scene.clip{file = "/usr/share/assimp/models/BVH/01_01.bvh", start = 7.3, stop = 8.8, speed = 0.4}
local rig = scene.rig{file = "../rigs/hops.character"}
local people = {
    {unit = scene.unit{clip = clip, rig = rig, name = "low definition", position = {1.5, 0, 0}}, low = true},
    {unit = scene.unit{clip = clip, rig = rig, name = "high definition"}, low = false},
}
local hands = {{effector = LEFT_WRIST, elbow = LEFT_ELBOW, id = LEFT_ID, side = 1, name = "left hand"},
               {effector = RIGHT_WRIST, elbow = RIGHT_ELBOW, id = RIGHT_ID, side = -1, name = "right hand"}}

scene.ground(0)
scene.duration(3.2)

for _, person in ipairs(people) do
    person.targets = {vec(0, 0, 0), vec(0, 0, 0)}
    for k, hand in ipairs(hands) do
        scene.goal{name = hand.name, unit = person.unit, effector = hand.effector, id = hand.id, target = function() return person.targets[k] end, from = 1.0}
    end
end

local begun = false

function update(t, dt)
    if t < 0.2 then return end
    local away = FAR + (NEAR - FAR) * (0.5 - 0.5 * math.cos((t - 0.8) * 2.6)) * math.min(1, math.max(0, (t - 0.8) / 0.3))
    for _, person in ipairs(people) do
        local unit = person.unit
        if not begun then
            local left = (Limbrex.character_get_effector_transform(unit, LEFT_ANKLE))
            local right = (Limbrex.character_get_effector_transform(unit, RIGHT_ANKLE))
            person.middle = (left + right) * 0.5
            person.across = vec(left.x - right.x, left.y - right.y, 0):normalized()
            person.ahead = vec(person.across.y, -person.across.x, 0)
            if person.low then Limbrex.character_push_lod(unit, false, true) end
            Limbrex.character_push_pin(unit, LEFT_ANKLE, 1, 1.0, 0.1, 11)
            Limbrex.character_push_pin(unit, RIGHT_ANKLE, 1, 1.0, 0.1, 12)
            -- The chest holds its turn against the arms.
            Limbrex.character_push_resist(unit, CHEST_END, 0.8, 0.3, 13)
        end
        for k, hand in ipairs(hands) do
            local target = vec(person.middle.x + away * person.ahead.x + 0.16 * hand.side * person.across.x,
                               person.middle.y + away * person.ahead.y + 0.16 * hand.side * person.across.y, HEIGHT)
            person.targets[k] = target
            if begun then
                local index = Limbrex.character_get_constraint_index_from_constraint_id(unit, hand.id)
                Limbrex.character_reach_position_set_position(unit, index, target)
            else
                Limbrex.character_push_reach_position(unit, hand.effector, target, true, 1.0, 0.6, hand.id)
                Limbrex.character_push_pull(unit, hand.effector, 1.0, 0.6, 30 + hand.id)
                -- A stiff elbow hands the push on to the body instead of folding.
                Limbrex.character_push_resist(unit, hand.elbow, 0.9, 0.6, 40 + hand.id)
            end
        end
    end
    begun = true
end
