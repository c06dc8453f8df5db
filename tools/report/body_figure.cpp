#include "tools/report/body_figure.h"

#include <algorithm>
#include <cctype>

#include "host/animation/pose_math.h"

namespace limbrex_tools
{
namespace
{

using limbrex_host::Skeleton;

// Bone radii as shares of the body height; bones in between taper with their length.
constexpr double kThinnest = 0.0045;
constexpr double kThickestLimb = 0.026;
constexpr double kThickestTrunk = 0.036;
constexpr double kLimbPerLength = 0.13;
constexpr double kTrunkPerLength = 0.34;
constexpr double kTaper = 0.70;
constexpr double kShortestBone = 0.004;

// Parts that some conventions put straight behind a small l or r ("lhand", "rfemur").
constexpr std::string_view kParts[] = {"hand",  "foot",  "thigh",  "shin",  "femur",  "tibia", "humerus", "radius",
                                       "wrist", "toe",   "finger", "thumb", "collar", "arm",   "leg",     "clavicle",
                                       "eye",   "elbow", "knee",   "ankle", "hip",    "shldr", "should"};

bool is_letter(std::string_view text, size_t at) { return at < text.size() && std::isalpha(static_cast<unsigned char>(text[at])) != 0; }

bool is_upper(std::string_view text, size_t at) { return at < text.size() && std::isupper(static_cast<unsigned char>(text[at])) != 0; }

std::string lower(std::string_view text)
{
    std::string out(text);
    for (char& ch : out) { ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch))); }
    return out;
}

Side side_of_letter(char letter)
{
    return letter == 'l' || letter == 'L' ? Side::Left : letter == 'r' || letter == 'R' ? Side::Right : Side::Centre;
}

// A single l or r between anything that is no letter: "arm_l", "Bip01 R Thigh", "Leg.L".
Side side_from_lone_letter(std::string_view name)
{
    for (size_t i = 0; i < name.size(); ++i)
    {
        const bool lone = is_letter(name, i) && !is_letter(name, i + 1) && (i == 0 || !is_letter(name, i - 1));
        if (lone && side_of_letter(name[i]) != Side::Centre) { return side_of_letter(name[i]); }
    }
    return Side::Centre;
}

double bone_length(const Skeleton& skeleton, size_t joint)
{
    return length(limbrex_host::to_vec3d(skeleton.joints[joint].rest.translation));
}

// The first joint with two or more limbs below it: the hips of any body.
size_t branching_joint(const Skeleton& skeleton)
{
    std::vector<int> children(skeleton.joints.size(), 0);
    for (const limbrex_host::Joint& joint : skeleton.joints)
    {
        if (joint.parent >= 0) { ++children[static_cast<size_t>(joint.parent)]; }
    }
    const auto found = std::find_if(children.begin(), children.end(), [](int count) { return count > 1; });
    return found == children.end() ? 0 : static_cast<size_t>(found - children.begin());
}

// The two longest ways down from the root joint, end to end: about the height of anything that stands.
double figure_height(const Skeleton& skeleton, size_t root)
{
    std::vector<double> reach(skeleton.joints.size(), 0.0);
    double longest = 0.0;
    double second = 0.0;
    std::vector<size_t> branch(skeleton.joints.size(), 0);
    std::vector<double> best(skeleton.joints.size(), 0.0);
    for (size_t j = root + 1; j < skeleton.joints.size(); ++j)
    {
        const size_t parent = static_cast<size_t>(std::max(skeleton.joints[j].parent, 0));
        reach[j] = reach[parent] + bone_length(skeleton, j);
        branch[j] = parent == root ? j : branch[parent];
        best[branch[j]] = std::max(best[branch[j]], reach[j]);
    }
    for (const double value : best)
    {
        second = std::max(second, std::min(longest, value));
        longest = std::max(longest, value);
    }
    const double height = longest + second;
    return height > 1e-6 ? height : 1.0;
}

// The first joint called a head, and the first tip right above it.
void find_head(const Skeleton& skeleton, size_t joint, BodyFigure& figure)
{
    const limbrex_host::Joint& at = skeleton.joints[joint];
    const std::string name = lower(at.name);
    const bool head = name.size() >= 4 && name.compare(name.size() - 4, 4, "head") == 0;
    if (head && figure.head < 0) { figure.head = static_cast<int32_t>(joint); }
    else if (figure.head >= 0 && figure.headTip < 0 && at.parent == figure.head && at.endSite)
    {
        figure.headTip = static_cast<int32_t>(joint);
    }
}

}  // namespace

Side side_from_name(std::string_view name)
{
    const size_t colon = name.rfind(':');
    if (colon != std::string_view::npos) { name.remove_prefix(colon + 1); }
    const std::string low = lower(name);
    if (low.find("left") != std::string::npos) { return Side::Left; }
    if (low.find("right") != std::string::npos) { return Side::Right; }
    const Side lone = side_from_lone_letter(name);
    if (lone != Side::Centre || name.size() < 2) { return lone; }
    if (is_upper(name, 1)) { return side_of_letter(name[0]); }
    const std::string_view rest = std::string_view(low).substr(1);
    for (const std::string_view part : kParts)
    {
        if (rest.substr(0, part.size()) == part) { return side_of_letter(name[0]); }
    }
    return Side::Centre;
}

BodyFigure make_figure(const Skeleton& skeleton)
{
    BodyFigure figure;
    if (skeleton.joints.empty()) { return figure; }
    figure.root = branching_joint(skeleton);
    figure.height = figure_height(skeleton, figure.root);
    for (size_t j = 0; j < skeleton.joints.size(); ++j)
    {
        const int32_t parent = skeleton.joints[j].parent;
        const Side own = side_from_name(skeleton.joints[j].name);
        figure.sides.push_back(own == Side::Centre && parent >= 0 ? figure.sides[static_cast<size_t>(parent)] : own);
        const double bone = bone_length(skeleton, j);
        find_head(skeleton, j, figure);
        if (j <= figure.root || parent < 0 || bone < kShortestBone * figure.height) { continue; }
        const bool trunk = figure.sides[j] == Side::Centre && !skeleton.joints[j].endSite;
        const double thickest = (trunk ? kThickestTrunk : kThickestLimb) * figure.height;
        const double radius = std::clamp((trunk ? kTrunkPerLength : kLimbPerLength) * bone, kThinnest * figure.height, thickest);
        figure.bones.push_back({static_cast<size_t>(parent), j, figure.sides[j], radius, kTaper * radius});
    }
    return figure;
}

}  // namespace limbrex_tools
