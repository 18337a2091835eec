/// @file
/// Marks what libqzsignal exports; everything else in it is hidden.
#pragma once

/// Before a class or a function: the library exports it.
#define QZSIGNAL_EXPORT __attribute__((visibility("default")))
