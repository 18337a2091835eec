/// @file
/// The operations of expression programs that compute, one row each. The library makes everything of an operation from
/// its row.
///
/// Internal: `ExpParser` declares a member for each row.
#pragma once

/// Calls ROW(name, operands, result) for each operation. It replaces that many elements of the stack by one result: `a`
/// is the left or only operand, `b` the right one, on the top of the stack. A condition is false if it is 0.0;
/// `truth(condition)` is 1.0 or 0.0.
///
/// Deliberate: `opbeq` and `opbne` reduce only their right operand to 1.0 or 0.0 and compare the left one as it is.
// clang-format off
#define QZSIGNAL_OPERATIONS(ROW)                                                                                       \
    ROW(opnot,   1, truth(a == 0.0))                /* !a */                                                           \
    ROW(opnz,    1, a)                              /* a number as a condition keeps its value */                      \
    ROW(opneg,   1, -a)                             /* -a */                                                           \
    ROW(opland,  2, truth(a != 0.0 && b != 0.0))    /* a && b */                                                       \
    ROW(oplor,   2, truth(a != 0.0 || b != 0.0))    /* a || b */                                                       \
    ROW(opdne,   2, truth(a != b))                  /* a != b, numbers */                                              \
    ROW(opdeq,   2, truth(a == b))                  /* a == b, numbers */                                              \
    ROW(opbne,   2, truth(a != truth(b != 0.0)))    /* a != b, conditions */                                           \
    ROW(opbeq,   2, truth(a == truth(b != 0.0)))    /* a == b, conditions */                                           \
    ROW(opge,    2, truth(a >= b))                  /* a >= b */                                                       \
    ROW(ople,    2, truth(a <= b))                  /* a <= b */                                                       \
    ROW(opgt,    2, truth(a > b))                   /* a > b */                                                        \
    ROW(oplt,    2, truth(a < b))                   /* a < b */                                                        \
    ROW(opexp,   2, std::pow(a, b))                 /* a to the power of b; the language has no word for it */         \
    ROW(opdiv,   2, a / b)                          /* a / b */                                                        \
    ROW(opmult,  2, a * b)                          /* a * b */                                                        \
    ROW(opminus, 2, a - b)                          /* a - b */                                                        \
    ROW(opplus,  2, a + b)                          /* a + b */
// clang-format on
