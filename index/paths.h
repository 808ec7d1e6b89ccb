// What a path tells of its file: which modules it may be, and whether it is a test.
//
// Modules and paths become lists of components, which are compared from the end. No language's
// search path is known here, so that this is evidence and not an answer.
//
// Cost: linear in the texts.
//
// Tested by tests/index_test.cpp.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace repository {

using Components = std::vector<std::string>;

// "src/pkg/mod.py" as src, pkg, mod. The name of a file that stands for its folder (__init__.py,
// index.ts, mod.rs) is left out.
Components file_components(std::string_view path);

// A module as a source names it: "pkg.mod", "./mod.js", "crate::pkg", "App\\Pkg", "\"fmt\"". A
// relative one starts from the folder of the file that names it.
Components module_components(std::string_view module, std::string_view asking_path);

bool ends_with(const Components& all, const Components& end);

// Whether the module may be the file, or the folder that it is in.
bool may_be(const Components& module, const Components& file);

// Answers prefer files that are no tests.
bool is_test_path(std::string_view path);

}  // namespace repository
