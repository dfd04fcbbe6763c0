-- Types that stand for Verilog values on the VHDL side of a mixed-language boundary.
-- Written for this product; analysed into library vl with the standard libraries.

library ieee;
use ieee.std_logic_1164.all;

package vl_types is
  -- Four-state Verilog bit: 0, 1, x and z map onto the resolved std_logic values.
  subtype vl_logic is std_logic;
  subtype vl_logic_vector is std_logic_vector;
  -- Two-state Verilog bit.
  subtype vl_bit is bit;
  subtype vl_bit_vector is bit_vector;
  -- Verilog integer and the unsized 32-bit parameter value.
  subtype vl_integer is integer;
  -- Verilog real and realtime.
  subtype vl_real is real;
  -- Verilog string parameters.
  subtype vl_string is string;
  -- Net strengths, strongest first.
  type vl_strength is (supply, strong, pull, weak, highz);
end package vl_types;
