// How much work a test may ask for that has no natural end.
#pragma once

// Steps of a test against a model: many, but under an emulator, which takes some thirty times as long, fewer.
#ifdef QZSIGNAL_EMULATED
constexpr unsigned modelSteps = 4000;
#else
constexpr unsigned modelSteps = 60000;
#endif
