// Class headers and forward typedefs: each broken form beside the legal form that looks
// most like it, which must stay silent.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "VeriTestSupport.h"

using namespace hdl;

namespace {

using Errors = std::vector<std::string>;

using veritest::errorsOf;

TEST(VeriClassCheck, ForwardTypedefsAreCompletedInTheirScope) {
    EXPECT_EQ(errorsOf("typedef class a;\n"
                       "typedef b;\n"
                       "class b; endclass\n"
                       "class a; b x; endclass\n"
                       "typedef enum e;\n"
                       "typedef enum {E0, E1} e;\n"
                       "module m; typedef c; typedef int c; endmodule\n"),
              Errors{});
    EXPECT_EQ(errorsOf("module m; typedef class c; typedef struct s; endmodule\n"),
              (Errors{"1 VERI-1525 forward typedef 'c' has no definition in its scope",
                      "1 VERI-1525 forward typedef 's' has no definition in its scope"}));
    EXPECT_EQ(errorsOf("typedef missing;\n"
                       "class k; typedef class inner; endclass\n"),
              (Errors{"1 VERI-1525 forward typedef 'missing' has no definition in its scope",
                      "2 VERI-1525 forward typedef 'inner' has no definition in its scope"}));
}

const std::string kHello = "module m;\n"
                           "  interface class ihello;\n"
                           "    typedef int int_t;\n"
                           "    pure virtual function void hello(int_t v);\n"
                           "  endclass\n";

TEST(VeriClassCheck, WhatImplementsNamesAndSees) {
    EXPECT_EQ(errorsOf(kHello + "  class Hello implements ihello;\n"
                                "    virtual function void hello(ihello::int_t v); endfunction\n"
                                "  endclass\n"
                                "  interface class iex extends ihello;\n"
                                "    pure virtual function void more(int_t v);\n"
                                "  endclass\n"
                                "  class base; typedef int t; endclass\n"
                                "  class derived #(type T = base) extends T; t x; endclass\n"
                                "  typedef interface class later;\n"
                                "  interface class later; endclass\n"
                                "  class user implements later; endclass\n"
                                "endmodule\n"),
              Errors{});
    EXPECT_EQ(errorsOf(kHello + "  class Hello implements ihello;\n"
                                "    virtual function void hello(int_t v); endfunction\n"
                                "  endclass\n"
                                "  class P #(type T = ihello) implements T; endclass\n"
                                "  interface class Q #(type T = ihello) extends T; endclass\n"
                                "  typedef interface class later;\n"
                                "  class user implements later; endclass\n"
                                "  interface class later; endclass\n"
                                "endmodule\n"),
              (Errors{"9 VERI-1526 class 'P' cannot implement type parameter 'T'",
                      "10 VERI-1526 interface class 'Q' cannot extend type parameter 'T'",
                      "12 VERI-1526 interface class 'later' is implemented before its definition",
                      "7 VERI-1507 type 'int_t' is not declared"}));
}

TEST(VeriClassCheck, ParameterizedClassesNeedValuesBeforeScope) {
    const std::string cls = "module m;\n"
                            "  class par #(int a = 25); parameter int b = 23;\n"
                            "    static function int get(); return par::b; endfunction\n"
                            "    extern static function int twice();\n"
                            "  endclass\n"
                            "  function int par::twice(); return 2 * par::b; endfunction\n"
                            "  class plain; static int c = 1; endclass\n"
                            "  typedef par #(3) par3;\n";
    EXPECT_EQ(errorsOf(cls + "  initial $display(par#()::b, par#(5)::b, plain::c, par3::b);\nendmodule\n"), Errors{});
    EXPECT_EQ(errorsOf(cls + "  initial $display(par::b);\nendmodule\n"),
              Errors{"9 VERI-1527 parameterized class 'par' needs a parameter value list before '::b' outside its "
                     "own declaration"});
}

TEST(VeriClassCheck, NamesHandedDownByInterfaceClasses) {
    const std::string bases = "module m;\n"
                              "  interface class ic1 #(type T = logic); pure virtual function void fn1(T a); endclass\n"
                              "  interface class ic2 #(type T = logic); pure virtual function void fn2(T a); endclass\n"
                              "  interface class ib #(type T = logic); pure virtual function void fn(T v); endclass\n"
                              "  interface class ia; pure virtual function void hello(); endclass\n"
                              "  interface class it; pure virtual function void hello(); endclass\n"
                              "  interface class ii; pure virtual function int hello(); endclass\n"
                              "  interface class base; pure virtual function void fn(); endclass\n";
    EXPECT_EQ(errorsOf(bases +
                       "  interface class ic3 #(type U = logic) extends ic1 #(U), ic2 #(U); typedef U T; endclass\n"
                       "  interface class d1 extends base; endclass\n"
                       "  interface class d2 extends base; endclass\n"
                       "  interface class d3 extends d1, d2; endclass\n"
                       "  interface class s1 extends ib #(bit); endclass\n"
                       "  interface class s2 extends ib #(bit); endclass\n"
                       "  interface class s3 extends s1, s2; endclass\n"
                       "  class both implements ia, it; virtual function void hello(); endfunction endclass\n"
                       "  interface class ab extends ia, it; endclass\n"
                       "endmodule\n"),
              Errors{});
    EXPECT_EQ(errorsOf(bases + "  interface class ic3 #(type U = logic) extends ic1 #(U), ic2 #(U); endclass\n"
                               "  interface class s1 extends ib #(bit); endclass\n"
                               "  interface class s2 extends ib #(string); endclass\n"
                               "  interface class s3 extends s1, s2; endclass\n"
                               "  class both implements ia, ii; virtual function void hello(); endfunction endclass\n"
                               "  interface class ab extends ia, ii; endclass\n"
                               "endmodule\n"),
              (Errors{"9 VERI-1528 interface class 'ic3' inherits 'T' from more than one interface class and must "
                      "declare its own",
                      "12 VERI-1528 interface class 's3' inherits 'T' from more than one interface class and must "
                      "declare its own",
                      "13 VERI-1528 method 'hello' of class 'both' cannot match the prototype of that name in every "
                      "interface class it implements",
                      "14 VERI-1528 method 'hello' of class 'ab' cannot match the prototype of that name in every "
                      "interface class it implements"}));
}

} // namespace
