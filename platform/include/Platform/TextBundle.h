// The host's text-bundle library: where translated text catalogs come from.
// A bundle handed out here is never freed; texts may be held by address for the life of the process.
#pragma once

#include <cstddef>

#include "Platform/Logging.h"

// Returns the bundle for the first of `languages` that has one, or null. Bundles come from
// hsv_text_bundle_install and from "<directory>/<language>/texts.bundle" under the set directory.
PLATFORM_API const void* hsv_text_bundle_get_text(const char* const* languages, std::size_t count);

// Registers an in-memory bundle for a language (null removes it). The memory must outlive the process's
// use of it. The stamp is not checked here: the caller of hsv_text_bundle_get_text decides.
PLATFORM_API void hsv_text_bundle_install(const char* language, const void* bundle);

// Sets the directory searched for bundle files; null or empty switches the search off.
PLATFORM_API void hsv_text_bundle_set_directory(const char* directory);
