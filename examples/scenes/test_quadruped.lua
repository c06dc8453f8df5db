-- The built-in demonstration for quadrupeds on a bull, two whole cycles: its hooves stay where they are while head, hips, chest and fore legs move in turn.
-- It starts from the unit's own pose: the bull stands as it was modelled.
--
-- The goals leap where one part follows the other, every six seconds.

Limbrex.enable(true)

local rig = scene.rig{file = "../rigs/bull.character"}
local bull = scene.unit{skeleton = "/usr/share/assimp/models/X/Testwuson.X", rig = rig, name = "bull"}

scene.ground(0)
scene.duration(97)
scene.rate(60)

Limbrex.character_push_test_quadruped(bull)
