#pragma once
// g++ does not show how the macros of such a header are expanded, so that an error is its one message.
#pragma GCC system_header

// KELM_FOR_EACH(F, SEPARATOR, X, a, b, c) is F(X, a) SEPARATOR() F(X, b) SEPARATOR() F(X, c), for up to 64 arguments.

#define KELM_COMMA() ,
#define KELM_NOTHING()

#define KELM_FOR_EACH(F, SEPARATOR, X, ...)                                                                            \
    KELM_FOR_EACH_FROM(__VA_ARGS__, KELM_FOR_EACH_NUMBERS)(F, SEPARATOR, X, __VA_ARGS__)
#define KELM_FOR_EACH_FROM(...) KELM_FOR_EACH_OF(__VA_ARGS__)
#define KELM_FOR_EACH_NUMBERS                                                                                          \
    64, 63, 62, 61, 60, 59, 58, 57, 56, 55, 54, 53, 52, 51, 50, 49, 48, 47, 46, 45, 44, 43, 42, 41, 40, 39, 38, 37,    \
        36, 35, 34, 33, 32, 31, 30, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20, 19, 18, 17, 16, 15, 14, 13, 12, 11, 10, 9, \
        8, 7, 6, 5, 4, 3, 2, 1, 0

#define KELM_FOR_EACH_OF(A1, A2, A3, A4, A5, A6, A7, A8, A9, A10, A11, A12, A13, A14, A15, A16, A17, A18, A19, A20,    \
                         A21, A22, A23, A24, A25, A26, A27, A28, A29, A30, A31, A32, A33, A34, A35, A36, A37, A38,     \
                         A39, A40, A41, A42, A43, A44, A45, A46, A47, A48, A49, A50, A51, A52, A53, A54, A55, A56,     \
                         A57, A58, A59, A60, A61, A62, A63, A64, N, ...)                                               \
    KELM_FOR_EACH_##N
#define KELM_FOR_EACH_1(F, S, X, A)       F(X, A)
#define KELM_FOR_EACH_2(F, S, X, A, ...)  F(X, A) S() KELM_FOR_EACH_1(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_3(F, S, X, A, ...)  F(X, A) S() KELM_FOR_EACH_2(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_4(F, S, X, A, ...)  F(X, A) S() KELM_FOR_EACH_3(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_5(F, S, X, A, ...)  F(X, A) S() KELM_FOR_EACH_4(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_6(F, S, X, A, ...)  F(X, A) S() KELM_FOR_EACH_5(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_7(F, S, X, A, ...)  F(X, A) S() KELM_FOR_EACH_6(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_8(F, S, X, A, ...)  F(X, A) S() KELM_FOR_EACH_7(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_9(F, S, X, A, ...)  F(X, A) S() KELM_FOR_EACH_8(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_10(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_9(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_11(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_10(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_12(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_11(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_13(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_12(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_14(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_13(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_15(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_14(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_16(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_15(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_17(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_16(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_18(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_17(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_19(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_18(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_20(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_19(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_21(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_20(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_22(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_21(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_23(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_22(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_24(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_23(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_25(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_24(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_26(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_25(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_27(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_26(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_28(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_27(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_29(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_28(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_30(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_29(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_31(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_30(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_32(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_31(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_33(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_32(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_34(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_33(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_35(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_34(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_36(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_35(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_37(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_36(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_38(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_37(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_39(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_38(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_40(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_39(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_41(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_40(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_42(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_41(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_43(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_42(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_44(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_43(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_45(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_44(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_46(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_45(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_47(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_46(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_48(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_47(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_49(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_48(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_50(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_49(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_51(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_50(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_52(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_51(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_53(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_52(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_54(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_53(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_55(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_54(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_56(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_55(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_57(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_56(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_58(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_57(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_59(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_58(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_60(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_59(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_61(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_60(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_62(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_61(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_63(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_62(F, S, X, __VA_ARGS__)
#define KELM_FOR_EACH_64(F, S, X, A, ...) F(X, A) S() KELM_FOR_EACH_63(F, S, X, __VA_ARGS__)
