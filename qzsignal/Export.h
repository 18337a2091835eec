// Marks what libqzsignal exports; everything else in it is hidden.
#pragma once

#define QZSIGNAL_EXPORT __attribute__((visibility("default")))
