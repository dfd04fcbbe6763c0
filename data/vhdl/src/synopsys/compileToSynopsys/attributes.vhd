-- Synthesis attributes that designs written for Synopsys-style tools reference through
-- "use synopsys.attributes.all". Written for this product: only the declarations
-- designs name are here, so that such use clauses and attribute specifications resolve.

package attributes is
  -- Finite state machine extraction.
  attribute state_vector : string;
  attribute enum_encoding : string;
  -- Reset and set recognition on registers.
  attribute sync_set_reset : string;
  attribute async_set_reset : string;
  attribute sync_set_reset_local : string;
  attribute async_set_reset_local : string;
  attribute sync_set_reset_local_all : string;
  attribute async_set_reset_local_all : string;
  attribute one_hot : string;
  attribute one_cold : string;
  -- Multiplexer and arithmetic inference.
  attribute infer_mux : string;
  attribute infer_multibit : string;
  attribute implementation : string;
  attribute ops_share : string;
  -- Hierarchy and black boxes.
  attribute black_box : boolean;
  attribute dont_touch : boolean;
  attribute keep : boolean;
  -- Pin and net properties.
  attribute pin_name : string;
  attribute max_delay : real;
  attribute arrival : real;
end package attributes;
