#pragma once

/// @file
/// Attributes of the declarations shared between the framework, the plug-in and
/// applications.

/// Classes shared between the framework, the plug-in and applications keep default
/// visibility so that their type information and tables are one across shared objects.
#define FRAMEWORK_API __attribute__((visibility("default")))

/// The framework's default bodies live in its headers; "used" makes every shared object
/// built against them, the plug-in included, carry its own copy.
#define FRAMEWORK_DEFAULT_BODY __attribute__((used))
