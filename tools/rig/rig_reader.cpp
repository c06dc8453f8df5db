#include "tools/rig/rig_reader.h"

#include <fmt/format.h>

#include <cmath>

#include "limbrex/limbrex.h"

namespace limbrex_tools
{
namespace
{

using nlohmann::json;

constexpr double kUnitTolerance = 1e-3;  // quaternion lengths; authors round to four digits
constexpr int kLastRotationOrder = 12;
constexpr int kLastContactType = 3;

constexpr const char* kTopLevelNames[] = {"bones_mapping", "t_stance",          "parent_offsets",   "limits",
                                          "unit_name",     "contact_foot_type", "contact_hand_type"};
constexpr const char* kContactDistances[] = {
    "contact_foot_bottom_to_ankle", "contact_foot_back_to_ankle",   "contact_foot_middle_to_ankle", "contact_foot_front_to_middle",
    "contact_foot_in_to_ankle",     "contact_foot_out_to_ankle",    "contact_hand_bottom_to_wrist", "contact_hand_back_to_wrist",
    "contact_hand_middle_to_wrist", "contact_hand_front_to_middle", "contact_hand_in_to_wrist",     "contact_hand_out_to_wrist",
};

std::string join(const std::string& place, const char* key) { return place.empty() ? std::string(key) : fmt::format("{}.{}", place, key); }

class Reader
{
public:
    explicit Reader(std::vector<Finding>& findings) : findings_(findings) {}

    void report(Severity severity, std::string place, std::string text)
    {
        findings_.push_back({severity, std::move(place), std::move(text)});
    }

    const json* find(const json& object, const char* key) const
    {
        const auto member = object.find(key);
        return member == object.end() ? nullptr : &*member;
    }

    bool read_number(const json& object, const char* key, const std::string& place, double& value)
    {
        const json* member = find(object, key);
        const std::string at = join(place, key);
        if (member == nullptr) { return report(Severity::Error, at, "is missing; the compiler would take 0"), false; }
        if (!member->is_number())
        {
            return report(Severity::Error, at, fmt::format("is {} where a number belongs", kind_of(*member))), false;
        }
        value = member->get<double>();
        if (std::isfinite(static_cast<float>(value))) { return true; }
        return report(Severity::Error, at, "is no finite number in single precision"), false;
    }

    bool read_integer(const json& object, const char* key, const std::string& place, int& value)
    {
        double number = 0.0;
        if (!read_number(object, key, place, number)) { return false; }
        const std::string at = join(place, key);
        if (std::fabs(number) > 2147483647.0) { return report(Severity::Error, at, fmt::format("{} is far out of range", number)), false; }
        if (!object[key].is_number_integer())
        {
            const bool whole = number == std::floor(number);
            report(whole ? Severity::Warning : Severity::Error, at,
                   fmt::format("{} is written as a real number where an integer belongs; the compiler rounds it", number));
            if (!whole) { return false; }
        }
        value = static_cast<int>(number);
        return true;
    }

    bool read_node(const json& object, const char* key, const std::string& place, int& node)
    {
        if (!read_integer(object, key, place, node)) { return node = -1, false; }
        if (node >= 0 && node < LBXLastNodeId) { return check_node_name(object, place, node), true; }
        report(Severity::Error, fmt::format("{}.{}", place, key),
               fmt::format("{} is no node id; ids run from 0 to {}", node, LBXLastNodeId - 1));
        return node = -1, false;
    }

    bool read_string(const json& object, const char* key, const std::string& place, std::string& value)
    {
        const json* member = find(object, key);
        const std::string at = join(place, key);
        if (member == nullptr) { return report(Severity::Error, at, "is missing"), false; }
        if (!member->is_string())
        {
            return report(Severity::Error, at, fmt::format("is {} where a name belongs", kind_of(*member))), false;
        }
        value = member->get<std::string>();
        if (!value.empty()) { return true; }
        return report(Severity::Error, at, "is empty"), false;
    }

    // x, y, z, w under keys "<prefix>x" ...; reports a quaternion that is not of length 1.
    bool read_quaternion(const json& object, const char* prefix, const std::string& place, std::array<double, 4>& q)
    {
        constexpr const char* kAxes[] = {"x", "y", "z", "w"};
        bool readable = true;
        for (size_t i = 0; i < 4; ++i) { readable &= read_number(object, fmt::format("{}{}", prefix, kAxes[i]).c_str(), place, q[i]); }
        if (!readable) { return false; }
        const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
        if (std::fabs(length - 1.0) <= kUnitTolerance) { return true; }
        report(Severity::Error, fmt::format("{}.{}x..{}w", place, prefix, prefix),
               fmt::format("is a quaternion of length {:.4f}; a rotation has length 1{}", length,
                           length > 0.0 ? ", divide by the length" : ", no rotation at all is (0, 0, 0, 1)"));
        return false;
    }

    // The elements that are objects; null, with a report, for anything else in their place.
    std::vector<const json*> read_array(const json& source, const char* key, bool required)
    {
        std::vector<const json*> elements;
        const json* member = find(source, key);
        if (member == nullptr)
        {
            if (required) { report(Severity::Error, key, "is missing; the rig would have nothing to move"); }
            return elements;
        }
        if (!member->is_array())
        {
            report(Severity::Error, key,
                   fmt::format("is {} where an array belongs; the compiler would take it as empty", kind_of(*member)));
            return elements;
        }
        for (size_t i = 0; i < member->size(); ++i)
        {
            const json& element = (*member)[i];
            if (!element.is_object()) { report(Severity::Error, fmt::format("{}[{}]", key, i), "is no object"); }
            elements.push_back(element.is_object() ? &element : nullptr);
        }
        return elements;
    }

    static const char* kind_of(const json& value)
    {
        if (value.is_null()) { return "null"; }
        if (value.is_boolean()) { return "true or false"; }
        if (value.is_string()) { return "a text"; }
        if (value.is_number()) { return "a number"; }
        return value.is_array() ? "an array" : "an object";
    }

private:
    void check_node_name(const json& object, const std::string& place, int node)
    {
        const json* name = find(object, "node");
        if (name == nullptr || !name->is_string() || name->get<std::string>() == LBXGetNodeNameFromId(node)) { return; }
        report(Severity::Warning, place + ".node",
               fmt::format("says {}, but id {} is {}; the id counts", name->get<std::string>(), node, LBXGetNodeNameFromId(node)));
    }

    std::vector<Finding>& findings_;
};

void read_bones(Reader& reader, const json& source, RigReading& rig)
{
    const std::vector<const json*> elements = reader.read_array(source, "bones_mapping", true);
    for (size_t i = 0; i < elements.size(); ++i)
    {
        RigReading::Bone bone;
        const std::string place = fmt::format("bones_mapping[{}]", i);
        if (elements[i] != nullptr)
        {
            reader.read_node(*elements[i], "id", place, bone.node);
            reader.read_string(*elements[i], "bone", place, bone.bone);
        }
        rig.bones.push_back(std::move(bone));
    }
}

void read_stances(Reader& reader, const json& source, RigReading& rig)
{
    const std::vector<const json*> elements = reader.read_array(source, "t_stance", true);
    constexpr const char* kTranslation[] = {"tx", "ty", "tz"};
    constexpr const char* kScale[] = {"sx", "sy", "sz"};
    for (size_t i = 0; i < elements.size(); ++i)
    {
        StanceElement stance;
        const std::string place = fmt::format("t_stance[{}]", i);
        bool readable = elements[i] != nullptr;
        for (size_t axis = 0; elements[i] != nullptr && axis < 3; ++axis)
        {
            readable &= reader.read_number(*elements[i], kTranslation[axis], place, stance.translation[axis]);
            if (reader.read_number(*elements[i], kScale[axis], place, stance.scale[axis]) && stance.scale[axis] <= 0.0)
            {
                reader.report(Severity::Error, fmt::format("{}.{}", place, kScale[axis]), "is not above 0; a node without scale has 1");
            }
        }
        if (elements[i] != nullptr) { reader.read_quaternion(*elements[i], "q", place, stance.rotation); }
        rig.stances.push_back(stance);
        rig.stanceReadable.push_back(readable);
    }
}

void read_parent_names(Reader& reader, const json& element, const std::string& place, ParentOffset& offset)
{
    const json* parents = reader.find(element, "parents");
    if (parents == nullptr || !parents->is_array() || parents->empty())
    {
        return reader.report(Severity::Error, place + ".parents", "lists no parents; name the nodes in between, nearest first");
    }
    if (parents->size() > kParentOffsetCapacity)
    {
        reader.report(Severity::Error, place + ".parents",
                      fmt::format("lists {} nodes; the compiler keeps the first {}", parents->size(), kParentOffsetCapacity));
    }
    for (size_t i = 0; i < parents->size(); ++i)
    {
        const json& name = (*parents)[i];
        const bool text = name.is_string() && !name.get<std::string>().empty();
        if (!text) { reader.report(Severity::Error, fmt::format("{}.parents[{}]", place, i), "is no node name"); }
        offset.parents.push_back(text ? name.get<std::string>() : std::string());
    }
}

void read_parent_offsets(Reader& reader, const json& source, RigReading& rig)
{
    const std::vector<const json*> elements = reader.read_array(source, "parent_offsets", false);
    for (size_t i = 0; i < elements.size(); ++i)
    {
        ParentOffset offset;
        offset.node = -1;
        const std::string place = fmt::format("parent_offsets[{}]", i);
        if (elements[i] != nullptr)
        {
            reader.read_node(*elements[i], "nodeID", place, offset.node);
            read_parent_names(reader, *elements[i], place, offset);
        }
        rig.parentOffsets.push_back(std::move(offset));
    }
}

void read_bounds(Reader& reader, const json& element, const std::string& place)
{
    for (const char* axis : {"x", "y", "z"})
    {
        double minimum = 0.0, maximum = 0.0, low_on = 0.0, high_on = 0.0;
        const bool bounds = reader.read_number(element, fmt::format("{}mi", axis).c_str(), place, minimum) &
                            reader.read_number(element, fmt::format("{}ma", axis).c_str(), place, maximum);
        const bool switches = reader.read_number(element, fmt::format("{}mia", axis).c_str(), place, low_on) &
                              reader.read_number(element, fmt::format("{}maa", axis).c_str(), place, high_on);
        if (bounds && switches && low_on != 0.0 && high_on != 0.0 && minimum > maximum)
        {
            reader.report(Severity::Error, fmt::format("{}.{}mi", place, axis),
                          fmt::format("{} is above the maximum {}", minimum, maximum));
        }
    }
}

void read_limits(Reader& reader, const json& source, RigReading& rig)
{
    const std::vector<const json*> elements = reader.read_array(source, "limits", false);
    for (size_t i = 0; i < elements.size(); ++i)
    {
        LimitElement limit;
        limit.index = i;
        const std::string place = fmt::format("limits[{}]", i);
        if (elements[i] != nullptr)
        {
            std::array<double, 4> rotation{};
            int order = 0;
            reader.read_node(*elements[i], "nodeID", place, limit.node);
            reader.read_quaternion(*elements[i], "pr_q", place, rotation);
            reader.read_quaternion(*elements[i], "po_q", place, rotation);
            read_bounds(reader, *elements[i], place);
            if (reader.read_integer(*elements[i], "ord", place, order) && (order < 0 || order > kLastRotationOrder))
            {
                reader.report(Severity::Error, place + ".ord",
                              fmt::format("{} is no rotation order; codes run from 0 to {}", order, kLastRotationOrder));
            }
        }
        rig.limits.push_back(limit);
    }
}

void check_contacts(Reader& reader, const json& source)
{
    for (const char* key : {"contact_foot_type", "contact_hand_type"})
    {
        int type = 0;
        if (reader.find(source, key) == nullptr)
        {
            reader.report(Severity::Warning, key, "is missing; the compiler takes 0, the normal contact");
        }
        else if (reader.read_integer(source, key, "", type) && (type < 0 || type > kLastContactType))
        {
            reader.report(Severity::Error, key,
                          fmt::format("{} is no contact type; 0 normal, 1 ankle or wrist, 2 toe or finger base, 3 hoof", type));
        }
    }
    for (const char* key : kContactDistances)
    {
        double distance = 0.0;
        if (reader.find(source, key) == nullptr) { reader.report(Severity::Warning, key, "is missing; floor contact would take 0"); }
        else if (reader.read_number(source, key, "", distance) && distance < 0.0)
        {
            reader.report(Severity::Error, key, fmt::format("{} is negative; it is a distance in metres", distance));
        }
    }
}

void check_unit_name(Reader& reader, const json& source)
{
    const json* member = reader.find(source, "unit_name");
    std::string name;
    if (member == nullptr) { return reader.report(Severity::Warning, "unit_name", "is missing; the compiled name stays empty"); }
    if (reader.read_string(source, "unit_name", "", name) && name.size() > kUnitNameCapacity)
    {
        reader.report(Severity::Warning, "unit_name",
                      fmt::format("has {} bytes; names over {} are cut in the compiled rig", name.size(), kUnitNameCapacity));
    }
}

void check_unknown_members(Reader& reader, const json& source)
{
    for (const auto& [key, value] : source.items())
    {
        const auto same = [&key = key](const char* name) { return key == name; };
        const bool known = std::any_of(std::begin(kTopLevelNames), std::end(kTopLevelNames), same) ||
                           std::any_of(std::begin(kContactDistances), std::end(kContactDistances), same);
        if (!known) { reader.report(Severity::Warning, key, "is read by nobody; is it misspelt?"); }
    }
}

}  // namespace

std::string node_text(int node) { return fmt::format("{} (id {})", LBXGetNodeNameFromId(node), node); }

RigReading read_rig(const json& source, std::vector<Finding>& findings)
{
    RigReading rig;
    Reader reader(findings);
    if (!source.is_object())
    {
        reader.report(Severity::Error, "the file", fmt::format("is {} where one object belongs", Reader::kind_of(source)));
        return rig;
    }
    check_unknown_members(reader, source);
    check_unit_name(reader, source);
    check_contacts(reader, source);
    read_bones(reader, source, rig);
    read_stances(reader, source, rig);
    read_parent_offsets(reader, source, rig);
    read_limits(reader, source, rig);
    return rig;
}

}  // namespace limbrex_tools
