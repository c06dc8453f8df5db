#include "tools/rig/joint_names.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <vector>

namespace limbrex_tools
{
namespace
{

struct PartWord
{
    std::string_view word;
    Part part;
};

// Words as they remain when side, numbers and separators are gone.
constexpr PartWord kPartWords[] = {
    // clang-format off
    {"hips", Part::Hips}, {"pelvis", Part::Hips}, {"hip", Part::Hip},
    {"spine", Part::Spine}, {"lowerback", Part::Spine}, {"lowback", Part::Spine}, {"upperback", Part::Spine}, {"back", Part::Spine},
    {"chest", Part::Spine}, {"upperchest", Part::Spine}, {"abdomen", Part::Spine}, {"abdomenlower", Part::Spine},
    {"abdomenupper", Part::Spine}, {"chestlower", Part::Spine}, {"chestupper", Part::Spine}, {"ab", Part::Spine}, {"torso", Part::Spine},
    {"waist", Part::Spine}, {"ribs", Part::Spine}, {"thorax", Part::Spine}, {"spinelower", Part::Spine}, {"spineupper", Part::Spine},
    {"spinemid", Part::Spine}, {"spinemiddle", Part::Spine}, {"lowerspine", Part::Spine}, {"upperspine", Part::Spine},
    {"neck", Part::Neck}, {"lowerneck", Part::Neck}, {"upperneck", Part::Neck}, {"necklower", Part::Neck}, {"neckupper", Part::Neck},
    {"head", Part::Head}, {"skull", Part::Head},
    {"collar", Part::Collar}, {"clavicle", Part::Collar}, {"clav", Part::Collar}, {"collarbone", Part::Collar},
    {"shoulder", Part::Shoulder},
    {"upperarm", Part::UpperArm}, {"uparm", Part::UpperArm}, {"armupper", Part::UpperArm}, {"shldr", Part::UpperArm},
    {"humerus", Part::UpperArm}, {"shldrbend", Part::UpperArm}, {"arm", Part::Arm},
    {"forearm", Part::LowerArm}, {"lowerarm", Part::LowerArm}, {"lowarm", Part::LowerArm}, {"armlower", Part::LowerArm},
    {"elbow", Part::LowerArm}, {"radius", Part::LowerArm}, {"forearmbend", Part::LowerArm},
    {"hand", Part::Hand}, {"wrist", Part::Hand},
    {"fingerbase", Part::FingerBase}, {"fingers", Part::FingerBase}, {"handend", Part::FingerBase},
    {"upleg", Part::UpperLeg}, {"upperleg", Part::UpperLeg}, {"thigh", Part::UpperLeg}, {"legupper", Part::UpperLeg},
    {"femur", Part::UpperLeg}, {"thighbend", Part::UpperLeg}, {"leg", Part::Leg},
    {"lowerleg", Part::LowerLeg}, {"lowleg", Part::LowerLeg}, {"leglower", Part::LowerLeg}, {"shin", Part::LowerLeg},
    {"calf", Part::LowerLeg}, {"knee", Part::LowerLeg}, {"tibia", Part::LowerLeg},
    {"foot", Part::Foot}, {"ankle", Part::Foot},
    {"toe", Part::Toe}, {"toes", Part::Toe}, {"toebase", Part::Toe}, {"ball", Part::Toe}, {"football", Part::Toe},
    {"hipjoint", Part::Helper}, {"buttock", Part::Helper},
    // clang-format on
};

struct FingerWord
{
    std::string_view word;
    int finger;
};

constexpr FingerWord kFingerWords[] = {
    {"thumb", 0}, {"index", 1}, {"middle", 2}, {"mid", 2}, {"ring", 3}, {"pinky", 4}, {"pink", 4}, {"little", 4},
};

constexpr std::array<std::string_view, 4> kLeftWords{"left", "l", "lft", "lt"};
constexpr std::array<std::string_view, 4> kRightWords{"right", "r", "rgt", "rt"};
constexpr std::array<std::string_view, 5> kHelperWords{"ik", "pole", "target", "nub", "ctrl"};
constexpr std::array<std::string_view, 3> kDecorations{"joint", "jnt", "bone"};
constexpr std::array<std::string_view, 3> kTwistWords{"twist", "roll", "leaf"};

template <class Words>
bool contains(const Words& words, std::string_view word)
{
    return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

const Part* find_part(std::string_view key)
{
    for (const PartWord& entry : kPartWords)
    {
        if (entry.word == key) { return &entry.part; }
    }
    return nullptr;
}

enum class Kind
{
    Separator,
    Digit,
    Upper,
    Lower,
};

Kind kind_of(char ch)
{
    const auto byte = static_cast<unsigned char>(ch);
    if (std::isdigit(byte) != 0) { return Kind::Digit; }
    if (std::isupper(byte) != 0) { return Kind::Upper; }
    return std::isalpha(byte) != 0 ? Kind::Lower : Kind::Separator;
}

// "LThumb" is L + Thumb, "upLeg" up + Leg, "CS_BVH" CS + BVH, "Spine01" Spine + 01.
bool starts_word(std::string_view name, size_t i)
{
    const Kind before = kind_of(name[i - 1]);
    const Kind here = kind_of(name[i]);
    if (before == here) { return here == Kind::Upper && i + 1 < name.size() && kind_of(name[i + 1]) == Kind::Lower; }
    return !(before == Kind::Upper && here == Kind::Lower);
}

std::vector<std::string> split_words(std::string_view name)
{
    std::vector<std::string> words;
    bool open = false;
    for (size_t i = 0; i < name.size(); ++i)
    {
        if (kind_of(name[i]) == Kind::Separator)
        {
            open = false;
            continue;
        }
        if (!open || (i > 0 && starts_word(name, i))) { words.emplace_back(); }
        words.back() += static_cast<char>(std::tolower(static_cast<unsigned char>(name[i])));
        open = true;
    }
    return words;
}

// A side written into the first word: "Lefthand", or one letter before a known part ("lhand" but not "lowerback" or "ring").
Side take_glued_side(std::string& word)
{
    const auto strip = [&word](size_t count) { word.erase(0, count); };
    if (word.size() > 4 && word.compare(0, 4, "left") == 0) { return strip(4), Side::Left; }
    if (word.size() > 5 && word.compare(0, 5, "right") == 0) { return strip(5), Side::Right; }
    if (find_part(word) != nullptr || word.size() < 3) { return Side::None; }
    const std::string_view rest = std::string_view(word).substr(1);
    const bool known = find_part(rest) != nullptr || std::any_of(std::begin(kFingerWords), std::end(kFingerWords),
                                                                 [rest](const FingerWord& f) { return f.word == rest; });
    if (!known || (word[0] != 'l' && word[0] != 'r')) { return Side::None; }
    const Side side = word[0] == 'l' ? Side::Left : Side::Right;
    strip(1);
    return side;
}

Side take_side(std::vector<std::string>& words)
{
    for (size_t i = 0; i < words.size(); ++i)
    {
        const bool left = contains(kLeftWords, words[i]);
        if (!left && !contains(kRightWords, words[i])) { continue; }
        words.erase(words.begin() + static_cast<std::ptrdiff_t>(i));
        return left ? Side::Left : Side::Right;
    }
    for (std::string& word : words)
    {
        const Side side = take_glued_side(word);
        if (side != Side::None) { return side; }
    }
    return Side::None;
}

bool is_number(const std::string& word) { return std::isdigit(static_cast<unsigned char>(word[0])) != 0; }

std::string joined(const std::vector<std::string>& words, size_t first)
{
    std::string key;
    for (size_t i = first; i < words.size(); ++i) { key += words[i]; }
    return key;
}

// The last finger word counts: a ring finger's neighbour is sometimes called "RingPinky".
int find_finger(const std::vector<std::string>& words)
{
    int finger = -1;
    for (const std::string& word : words)
    {
        for (const FingerWord& entry : kFingerWords)
        {
            if (entry.word == word) { finger = entry.finger; }
        }
    }
    return finger;
}

// Exact key first; then without leading words, which are rig prefixes ("Bip", "DEF", "J Bip", "CC Base").
Part find_part_behind_prefix(const std::vector<std::string>& words)
{
    for (size_t first = 0; first < words.size(); ++first)
    {
        const Part* part = find_part(joined(words, first));
        if (part != nullptr) { return *part; }
    }
    return Part::Unknown;
}

bool drop_twist_words(std::vector<std::string>& words)
{
    const size_t before = words.size();
    words.erase(std::remove_if(words.begin(), words.end(), [](const std::string& w) { return contains(kTwistWords, w); }), words.end());
    return words.size() != before;
}

void read_finger(const std::vector<std::string>& words, int finger, JointLabel& label)
{
    label.part = Part::Finger;
    label.finger = finger;
    label.onFoot = contains(words, "foot") || contains(words, "toe") || contains(words, "metatarsal");
    const bool inside =
        contains(words, "metacarpal") || contains(words, "metatarsal") || contains(words, "carpal") || contains(words, "in");
    label.metacarpal = inside && (finger != 0 || contains(words, "in"));  // a thumb's metacarpal is its first moving joint
}

}  // namespace

JointLabel read_joint_name(std::string_view name)
{
    const size_t space = name.find_last_of(":|");
    if (space != std::string_view::npos) { name.remove_prefix(space + 1); }

    JointLabel label;
    std::vector<std::string> words = split_words(name);
    label.side = take_side(words);

    std::string number;
    for (auto word = words.begin(); word != words.end();)
    {
        if (!is_number(*word))
        {
            ++word;
            continue;
        }
        number = *word;
        word = words.erase(word);
    }
    for (const std::string& word : words)
    {
        if (contains(kHelperWords, word)) { return label.part = Part::Helper, label; }
    }
    label.twist = drop_twist_words(words);

    const int finger = find_finger(words);
    if (finger >= 0 && label.side != Side::None) { return read_finger(words, finger, label), label; }
    label.part = find_part_behind_prefix(words);
    if (label.part == Part::Unknown && !words.empty() && words.back() == "finger" && !number.empty() && number[0] <= '5')
    {
        read_finger(words, number[0] - '0', label);  // "Finger0" the thumb, "Finger11" the index finger's second joint
    }
    if (label.part == Part::Unknown && words.size() > 1 && contains(kDecorations, words.back()))
    {
        words.pop_back();
        label.part = find_part_behind_prefix(words);
    }
    if (label.part == Part::Hip && label.side == Side::None) { label.part = Part::Hips; }
    return label;
}

}  // namespace limbrex_tools
