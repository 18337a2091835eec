/// @file
/// Export and alignment attributes. Everything that is not exported is hidden in libqzsignal.
#pragma once

/// Before a class or a function: the library exports it.
#define QZSIGNAL_EXPORT __attribute__((visibility("default")))

/// Aligns the objects of a class to the processor's cache lines, so that members that are used together share one.
#define QZSIGNAL_CACHE_ALIGNED __attribute__((aligned(64)))
