/// @file
/// Marks of classes and functions: what libqzsignal exports (everything else in it is hidden), and how objects lie.
#pragma once

/// Before a class or a function: the library exports it.
#define QZSIGNAL_EXPORT __attribute__((visibility("default")))

/// Marks classes whose objects begin a line of the processor's cache, so that what is used together lies in one.
#define QZSIGNAL_CACHE_ALIGNED __attribute__((aligned(64)))
