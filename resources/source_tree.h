// Reading the source text of a resource as the engine hands it over: parsed into one block of 32-bit words, every offset from its first byte. A
// member that is missing, or of a kind that the reader does not take, answers the neutral value that each reader names.
#pragma once

#include <cstddef>
#include <cstdint>

class SourceValue
{
public:
    SourceValue() = default;
    SourceValue(const char* tree, uint32_t type, uint32_t value) : tree_(tree), type_(type), value_(value) {}

    // First member of that name; none when this is no object.
    SourceValue member(const char* key) const;
    uint32_t count() const;  // elements of an array, whatever their kind; 0 for anything else
    SourceValue element(uint32_t index) const;

    bool is_string() const;
    const char* string() const;                        // "" when it is none
    float number(float missing = 0.0f) const;          // a float as it is, an integer converted
    uint32_t raw_integer(uint32_t missing = 0) const;  // an integer's bits; a float rounded to nearest
    bool is_set() const { return number() != 0.0f; }

private:
    const uint32_t* words() const;

    const char* tree_ = nullptr;
    uint32_t type_ = 0;
    uint32_t value_ = 0;
};

// The root object of a parsed source; nothing when the root is something else.
SourceValue source_root(const void* tree);
