-- The built-in demonstration for quadrupeds on a bull, two whole cycles: its hooves stay where they are while head, hips, chest and fore legs move in turn.
-- It starts from the unit's own pose: the bull stands as it was modelled.
--
-- The goals leap where one part follows the other, every six seconds, and the demonstration has no weight to blend by. So constraints above it, which move
-- nothing, write the weights of the effectors that leap: the demonstration's own, faded out before each leap and in after it.

local PART, FADE = 6, 1.2 -- seconds
local HIPS, CHEST, HEAD, HANDS = 0, 10, 15, {18, 19}
local LOCKED, FREE = {1, 1, 1}, {0, 0, 0}

-- Weights of each part: reach of the place, reach of the turn, pull. Hands are locked where a part does not name them; the rest is free.
local PARTS = {
    {[HEAD] = {1, 1, 1}},
    {[HIPS] = {1, 1, 1}},
    {[HIPS] = {1, 1, 1}, [CHEST] = {1, 1, 1}},
    {[HIPS] = {0, 1, 0}},
    {[HEAD] = {1, 0, 0.5}},
    {[CHEST] = {1, 0, 1}, hands = {1, 0, 1}},
    {hands = {0.3, 0, 1}}, -- the goals swing by more than twice a fore leg's length
    {[CHEST] = {0, 1, 1}},
}

Limbrex.enable(true)

local rig = scene.rig{file = "../rigs/bull.character"}
local bull = scene.unit{skeleton = "/usr/share/assimp/models/X/Testwuson.X", rig = rig, name = "bull"}

scene.ground(0)
scene.duration(97)
scene.rate(60)

Limbrex.character_push_test_quadruped(bull)
local watched = {HIPS, CHEST, HEAD, HANDS[1], HANDS[2]}
for _, effector in ipairs(watched) do
    Limbrex.character_push_offset_position(bull, effector, {0, 0, 0}, true, 0, 0, 100 + effector)
    Limbrex.character_push_offset_rotation(bull, effector, {0, 0, 1}, 0, true, 0, 0, 200 + effector)
    Limbrex.character_push_pull(bull, effector, 0, 0, 300 + effector)
end

local function ease(x)
    x = math.min(1, math.max(0, x))
    return x * x * x * (10 - 15 * x + 6 * x * x)
end

local timer = 0 -- the demonstration's own, which it steps after each frame and winds back past its end

function update(t)
    local weights = PARTS[math.min(math.floor(timer / PART) + 1, #PARTS)]
    local into = timer % PART
    if timer >= PART * #PARTS then into = 0 end
    local fade = ease(into / FADE) * ease((PART - into) / FADE)
    for _, effector in ipairs(watched) do
        local hand = effector == HANDS[1] or effector == HANDS[2]
        local own = weights[effector] or hand and (weights.hands or LOCKED) or FREE
        for i = 1, 3 do
            local index = Limbrex.character_get_constraint_index_from_constraint_id(bull, 100 * i + effector)
            Limbrex.character_set_blend_alpha(bull, index, own[i] * fade)
        end
    end
    if timer > PART * #PARTS then timer = 0 end
    timer = timer + 1 / 60
end
