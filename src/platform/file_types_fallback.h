// What this program knows about file types by itself. Internal to FileTypes.
#pragma once

#include <span>
#include <string_view>

namespace kestrix {

// A type that must be known without any database; the database's word counts where it has one.
struct FallbackType {
    std::string_view extensions;  // separated by blanks
    std::string_view identifier;
    std::string_view description;
    std::string_view parent = {};
};
std::span<const FallbackType> fallbackTypes();

// A well-known identifier and a MIME name for the same thing.
struct WellKnownName {
    std::string_view identifier;
    std::string_view type;
};
std::span<const WellKnownName> wellKnownNames();

// A type, or all types of a family ("image/"), or a class, that is a kind of a well-known class.
struct ClassMember {
    std::string_view type;
    std::string_view wellKnownClass;
};
std::span<const ClassMember> classMembers();

// The classes of the types that the database draws with one of its general icons.
struct ClassByIcon {
    std::string_view icon;
    std::string_view wellKnownClass;
};
std::span<const ClassByIcon> classesByIcon();

// Whether a type of the database is merely the packing of others, so that conforming to it says nothing about
// them.
bool isPackingOnly(std::string_view type);

}  // namespace kestrix
