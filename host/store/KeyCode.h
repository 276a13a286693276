// Host::Store::Detail key codes: the byte form under which the store indexes a key or a class name. Two
// keys share a code exactly when their values are equal; the traits of the key's root ("PrimaryKey",
// "ObjectID", "Type") are left out, so a key, its key pattern and a bare value of it all find one object.
#pragma once

#include "por/Forward.h"

#include <string>
#include <vector>

namespace Host::Store::Detail
{

// The blob form of the unit's value and of everything below it, without the root's own traits.
std::string MakeKeyCode(const Por::View::Unit& key);

// The codes of the values of the unit's "Is" traits: one per level of its class chain, in trait order,
// each once.
std::vector<std::string> GetClassCodes(const Por::View::Unit& object);

} // namespace Host::Store::Detail
