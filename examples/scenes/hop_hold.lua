-- A captured hop past a post. The right hand takes hold of the post's top on the way, keeps it while the body flies by, and lets go: shoulder,
-- elbow and wrist give way so that the hand stays on the post; everything else hops on as captured.
--
-- World frame: z up, metres. The hops go along -y.

local RIGHT_WRIST = 4
local HOLD_ID = 1
local HOLD_FROM, HOLD_TO = 0.9, 1.9                       -- seconds of the scene
local GRIP = {0.14, -0.36, 1.06}

Limbrex.enable(true)

local clip = scene.clip{file = "/usr/share/assimp/models/BVH/01_01.bvh", start = 2.6, stop = 5.6}
local rig = scene.rig{file = "../rigs/hops.character"}
local hopper = scene.unit{clip = clip, rig = rig, name = "hopper"}

scene.ground(0)
scene.box{position = {0.10, -0.36, 0.5}, size = {0.05, 0.05, 1.0}}
scene.marker{name = "grip", position = GRIP, color = "#e8b030", size = 0.05}
scene.goal{name = "right hand", unit = hopper, effector = RIGHT_WRIST, id = HOLD_ID, target = GRIP, from = HOLD_FROM + 0.3, to = HOLD_TO}

local holding, released = false, false

function update(t, dt)
    if not holding and t >= HOLD_FROM then
        -- Unit, effector, goal, goal in world space, full weight, fading in over 0.25 s, id.
        Limbrex.character_push_reach_position(hopper, RIGHT_WRIST, GRIP, true, 1.0, 0.25, HOLD_ID)
        holding = true
    end
    if not released and t >= HOLD_TO then
        -- Letting go: the weight travels back to 0 over the same blend time, and the hand returns to the captured motion.
        local index = Limbrex.character_get_constraint_index_from_constraint_id(hopper, HOLD_ID)
        Limbrex.character_set_blend_alpha(hopper, index, 0.0)
        released = true
    end
end
