#include <gtest/gtest.h>

#include <fmt/format.h>

#include <functional>
#include <nlohmann/json.hpp>

#include "tests/tools/body_fixture.h"
#include "tools/rig/rig_check.h"
#include "tools/rig/rig_init.h"

namespace
{

using namespace limbrex_tests;
using namespace limbrex_tools;
using nlohmann::json;

limbrex_host::Skeleton spaced_body()
{
    limbrex_host::Skeleton skeleton;
    skeleton.joints.push_back({"root", -1, {}, false});
    for (const limbrex_host::Joint& joint : plain_body().joints)
    {
        skeleton.joints.push_back({joint.name, joint.parent + 1, joint.rest, false});
    }
    return skeleton;
}

json good_rig()
{
    limbrex_host::Asset asset;
    asset.skeleton = spaced_body();
    RigInitOptions options;
    options.unitName = "body";
    RigInitResult result;
    std::string error;
    EXPECT_TRUE(init_rig(asset, options, result, error)) << error;
    return json::parse(write_rig_source(result.source));
}

size_t element_of(const json& rig, const char* node)
{
    const json& bones = rig["bones_mapping"];
    for (size_t i = 0; i < bones.size(); ++i)
    {
        if (bones[i]["node"] == node) { return i; }
    }
    ADD_FAILURE() << node;
    return 0;
}

json& stance(json& rig, const char* node) { return rig["t_stance"][element_of(rig, node)]; }

json& bone(json& rig, const char* node) { return rig["bones_mapping"][element_of(rig, node)]; }

void remove_node(json& rig, const char* node)
{
    const size_t at = element_of(rig, node);
    rig["bones_mapping"].erase(at);
    rig["t_stance"].erase(at);
}

void mirror_x(json& rig)
{
    for (json& element : rig["t_stance"]) { element["tx"] = -element["tx"].get<double>(); }
}

json limit(int node)
{
    return json::parse(
        fmt::format(R"({{"nodeID": {}, "pr_qx": 0, "pr_qy": 0, "pr_qz": 0, "pr_qw": 1, "po_qx": 0, "po_qy": 0, "po_qz": 0, "po_qw": 1,
        "xmi": -1, "ymi": -1, "zmi": -1, "xma": 1, "yma": 1, "zma": 1, "xmia": 1, "ymia": 1, "zmia": 1, "xmaa": 1, "ymaa": 1, "zmaa": 1, "ord": 0}})",
                    node));
}

struct Fault
{
    const char* title;
    Severity severity;
    const char *place, *text;  // parts of the finding
    std::function<void(json&)> inject;
};

const std::vector<Fault>& faults()
{
    constexpr Severity E = Severity::Error;
    constexpr Severity W = Severity::Warning;
    static const std::vector<Fault> all{
        {"no mapping", E, "bones_mapping", "is missing", [](json& r) { r.erase("bones_mapping"); }},
        {"mapping of another type", E, "bones_mapping", "an array belongs", [](json& r) { r["bones_mapping"] = 3; }},
        {"an element that is none", E, "bones_mapping[4]", "is no object", [](json& r) { r["bones_mapping"][4] = "Hips"; }},
        {"id out of range", E, "bones_mapping[2].id", "ids run from 0 to 211", [](json& r) { r["bones_mapping"][2]["id"] = 212; }},
        {"negative id", E, "bones_mapping[2].id", "-1 is no node id", [](json& r) { r["bones_mapping"][2]["id"] = -1; }},
        {"enormous id", E, "bones_mapping[2].id", "far out of range", [](json& r) { r["bones_mapping"][2]["id"] = 1e20; }},
        {"whole real id", W, "bones_mapping[2].id", "an integer belongs", [](json& r) { r["bones_mapping"][2]["id"] = 2.0; }},
        {"fractional id", E, "bones_mapping[2].id", "an integer belongs", [](json& r) { r["bones_mapping"][2]["id"] = 2.5; }},
        {"id as text", E, "bones_mapping[2].id", "is a text", [](json& r) { r["bones_mapping"][2]["id"] = "2"; }},
        {"node and id differ", W, "bones_mapping[1].node", "says Head", [](json& r) { r["bones_mapping"][1]["node"] = "Head"; }},
        {"node twice", E, ".id", "LeftArm (id 9) again", [](json& r) { bone(r, "RightArm")["id"] = 9; }},
        {"bone twice", E, ".bone", "\"LeftArm\" again", [](json& r) { bone(r, "RightArm")["bone"] = "LeftArm"; }},
        {"bone without a name", E, ".bone", "is empty", [](json& r) { bone(r, "Head")["bone"] = ""; }},
        {"bone missing", E, ".bone", "is missing", [](json& r) { bone(r, "Head").erase("bone"); }},
        {"too many nodes", E, "bones_mapping", "there are 212 nodes",
         [](json& r)
         {
             while (r["bones_mapping"].size() < 213) { r["bones_mapping"].push_back(r["bones_mapping"][1]); }
         }},
        {"no reference", E, "bones_mapping", "no bone to Reference", [](json& r) { remove_node(r, "Reference"); }},
        {"no hips", E, "bones_mapping", "no bone to Hips", [](json& r) { remove_node(r, "Hips"); }},
        {"part of a limb", W, "bones_mapping", "only some of LeftArm", [](json& r) { remove_node(r, "LeftForeArm"); }},
        {"a gap in the spine", W, "bones_mapping", "Spine1 (id 23) hangs from nothing", [](json& r) { remove_node(r, "Spine"); }},
        {"a stance too few", E, "t_stance", "both need as many", [](json& r) { r["t_stance"].erase(5); }},
        {"a stance too many", E, "t_stance", "both need as many", [](json& r) { r["t_stance"].push_back(r["t_stance"][1]); }},
        {"quaternion of length 2", E, "t_stance[3].qx..qw", "length 2.0", [](json& r) { r["t_stance"][3]["qw"] = 2; }},
        {"quaternion of no length", E, "t_stance[3].qx..qw", "length 0.0", [](json& r) { r["t_stance"][3]["qw"] = 0; }},
        {"stance number missing", E, "t_stance[3].ty", "is missing", [](json& r) { r["t_stance"][3].erase("ty"); }},
        {"stance number as text", E, "t_stance[3].tz", "is a text", [](json& r) { r["t_stance"][3]["tz"] = "0"; }},
        {"no finite float", E, "t_stance[3].tx", "no finite number", [](json& r) { r["t_stance"][3]["tx"] = 1e300; }},
        {"scale of zero", E, "t_stance[3].sy", "not above 0", [](json& r) { r["t_stance"][3]["sy"] = 0; }},
        {"sides exchanged", E, "t_stance", "left and right are exchanged", mirror_x},
        {"one arm exchanged", E, "t_stance", "LeftForeArm",
         [](json& r)
         {
             std::swap(stance(r, "LeftForeArm"), stance(r, "RightForeArm"));
             std::swap(stance(r, "LeftHand"), stance(r, "RightHand"));
         }},
        {"facing +x", E, "t_stance", "faces 90 degrees away",
         [](json& r)
         {
             for (json& s : r["t_stance"])
             {
                 const double x = s["tx"], z = s["tz"];
                 s["tx"] = z;
                 s["tz"] = -x;
             }
         }},
        {"hanging arm", E, "t_stance", "LeftForeArm to LeftHand should point straight out to +x, but is 90 degrees",
         [](json& r)
         {
             stance(r, "LeftHand")["tx"] = stance(r, "LeftForeArm")["tx"];
             stance(r, "LeftHand")["ty"] = stance(r, "LeftForeArm")["ty"].get<double>() - 0.25;
         }},
        {"slanted leg", W, "t_stance", "RightUpLeg to RightLeg should point straight down",
         [](json& r) { stance(r, "RightLeg")["tz"] = 0.25; }},
        {"lying down", E, "t_stance", "Hips to Head should point straight up",
         [](json& r)
         {
             for (json& s : r["t_stance"])
             {
                 const double y = s["ty"], z = s["tz"];
                 s["ty"] = -z;
                 s["tz"] = y;
             }
         }},
        {"limb bone of no length", E, "t_stance", "LeftForeArm (id 10) to LeftHand (id 11) has no length",
         [](json& r) { stance(r, "LeftHand") = stance(r, "LeftForeArm"); }},
        {"neck bone of no length", Severity::Note, "t_stance", "Head (id 15) lies on Neck (id 20)",
         [](json& r)
         {
             for (const char* axis : {"tx", "ty", "tz"}) { stance(r, "Head")[axis] = stance(r, "Neck")[axis]; }
         }},
        {"centimetres", W, "t_stance", "Is the rig in centimetres",
         [](json& r)
         {
             for (json& s : r["t_stance"])
             {
                 for (const char* axis : {"tx", "ty", "tz"}) { s[axis] = s[axis].get<double>() * 100.0; }
             }
         }},
        {"parents of an unmapped node", E, "parent_offsets", "does not map", [](json& r) { r["parent_offsets"][0]["nodeID"] = 40; }},
        {"seven parents", E, "parent_offsets[0].parents", "lists 7 nodes",
         [](json& r) { r["parent_offsets"][0]["parents"] = {"a", "b", "c", "d", "e", "f", "g"}; }},
        {"no parents", E, "parent_offsets[0].parents", "lists no parents",
         [](json& r) { r["parent_offsets"][0]["parents"] = json::array(); }},
        {"a parent without a name", E, "parent_offsets[0].parents[0]", "no node name",
         [](json& r) { r["parent_offsets"][0]["parents"][0] = ""; }},
        {"its own parent", E, "parent_offsets[0]", "itself", [](json& r) { r["parent_offsets"][0]["parents"][0] = "Hips"; }},
        {"two lists for a node", E, "parent_offsets[1]", "second list",
         [](json& r) { r["parent_offsets"].push_back(r["parent_offsets"][0]); }},
        {"unit name of 40", W, "unit_name", "has 40 bytes", [](json& r) { r["unit_name"] = std::string(40, 'x'); }},
        {"unit name a number", E, "unit_name", "a name belongs", [](json& r) { r["unit_name"] = 7; }},
        {"unknown contact type", E, "contact_foot_type", "4 is no contact type", [](json& r) { r["contact_foot_type"] = 4; }},
        {"negative distance", E, "contact_hand_in_to_wrist", "is negative", [](json& r) { r["contact_hand_in_to_wrist"] = -0.1; }},
        {"missing distance", W, "contact_foot_out_to_ankle", "is missing", [](json& r) { r.erase("contact_foot_out_to_ankle"); }},
        {"misspelt member", W, "bone_mapping", "misspelt", [](json& r) { r["bone_mapping"] = json::array(); }},
        {"limits of an unmapped node", W, "limits[0]", "not mapped", [](json& r) { r["limits"].push_back(limit(40)); }},
        {"limits upside down", E, "limits[0].ymi", "above the maximum",
         [](json& r)
         {
             r["limits"].push_back(limit(9));
             r["limits"][0]["ymi"] = 2;
         }},
        {"unknown rotation order", E, "limits[0].ord", "no rotation order",
         [](json& r)
         {
             r["limits"].push_back(limit(9));
             r["limits"][0]["ord"] = 13;
         }},
        {"limit without a number", E, "limits[0].zma", "is missing",
         [](json& r)
         {
             r["limits"].push_back(limit(9));
             r["limits"][0].erase("zma");
         }},
    };
    return all;
}

std::string listing(const std::vector<Finding>& findings)
{
    std::string text;
    for (const Finding& f : findings) { text += fmt::format("  {} {}: {}\n", static_cast<int>(f.severity), f.place, f.text); }
    return text;
}

TEST(RigCheck, ARigFromInitHasNoFault)
{
    const limbrex_host::Skeleton skeleton = spaced_body();
    const std::vector<Finding> findings = check_rig(good_rig(), &skeleton);
    EXPECT_TRUE(findings.empty()) << listing(findings);
}

TEST(RigCheck, EveryInjectedFaultIsFoundWhereItIs)
{
    for (const Fault& fault : faults())
    {
        json rig = good_rig();
        fault.inject(rig);
        const std::vector<Finding> findings = check_rig(rig, nullptr);
        const bool found = std::any_of(findings.begin(), findings.end(),
                                       [&](const Finding& f) {
                                           return f.severity == fault.severity && f.place.find(fault.place) != std::string::npos &&
                                                  f.text.find(fault.text) != std::string::npos;
                                       });
        EXPECT_TRUE(found) << fault.title << " gave\n" << listing(findings);
        EXPECT_EQ(has_error(findings),
                  std::any_of(findings.begin(), findings.end(), [](const Finding& f) { return f.severity == Severity::Error; }));
    }
}

TEST(RigCheck, BonesAndParentsAreLookedUpInTheSkeleton)
{
    const limbrex_host::Skeleton skeleton = spaced_body();
    const auto findings_of = [&](const std::function<void(json&)>& inject)
    {
        json rig = good_rig();
        inject(rig);
        return listing(check_rig(rig, &skeleton));
    };
    EXPECT_NE(findings_of([](json& r) { bone(r, "Head")["bone"] = "Skull"; }).find("no joint \"Skull\""), std::string::npos);
    EXPECT_NE(
        findings_of([](json& r) { r["parent_offsets"].clear(); }).find("the skeleton has \"root\", nearest first; the rig lists none"),
        std::string::npos);
    EXPECT_NE(
        findings_of([](json& r) { std::swap(bone(r, "LeftHand")["bone"], bone(r, "LeftForeArm")["bone"]); }).find("does not hang below"),
        std::string::npos);
}

TEST(RigCheck, AnyJsonAtAllIsAnsweredWithFindings)
{
    for (const char* text :
         {"null", "[]", "3", "\"rig\"", "{}", R"({"bones_mapping": [null, [], {}, {"id": null, "bone": 3}], "t_stance": [[]],
             "parent_offsets": [{"nodeID": 1, "parents": [1, {}, null]}], "limits": [{}, 1], "unit_name": null})"})
    {
        EXPECT_TRUE(has_error(check_rig(json::parse(text), nullptr))) << text;
    }
    const json rig = good_rig();
    for (const auto& [key, value] : rig.items())  // every member replaced by every other kind
    {
        for (const json& other : {json(), json(true), json(-5), json(0.5), json("x"), json::array({1}), json::object({{"a", 1}})})
        {
            json changed = rig;
            changed[key] = other;
            check_rig(changed, nullptr);
        }
    }
}

}  // namespace
