// The files of a new project, embedded when the tool is built.
#pragma once

#include <span>

namespace larder::tool {

struct Template {
  const char* file;  // its name
  const char* text;
};

// In the names and texts, {{name}} stands for the provider's name and {{type}} for its type.
[[nodiscard]] std::span<const Template> ProviderTemplates();

}  // namespace larder::tool
