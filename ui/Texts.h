#pragma once

#include <initializer_list>
#include <string>

#include "ui/strings.h"

namespace norix {

/// A text for the user (a number of strings.h), in his language where the module has it, else in English.
/// Any thread.
std::wstring UiText(unsigned id);

/// "%1" to "%9" replaced by the arguments; others stay. Pure.
std::wstring Insert(const std::wstring& text, std::initializer_list<std::wstring> arguments);

}  // namespace norix
