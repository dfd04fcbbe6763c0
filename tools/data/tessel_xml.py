"""The XML description of one tessel macro module.

Format (one file per module, beside its source):

  <?xml version="1.0" encoding="UTF-8"?>
  <tessel_ip format="1">
    <module name="NAME" source="GROUP/FILE.sv" language="systemverilog">
      <parameter name="P" default="TEXT"/>
      <port name="N" direction="input|output|inout" range="MSB:LSB"/>
    </module>
  </tessel_ip>

The scanner reads only the module element's name attribute, one element per line;
parameters and ports are there for the tools of the parent environment. `range` is
left out for one-bit ports.
"""

from xml.sax.saxutils import quoteattr


def describe(module, source):
    lines = ['<?xml version="1.0" encoding="UTF-8"?>',
             '<tessel_ip format="1">',
             '  <module name=%s source=%s language="systemverilog">'
             % (quoteattr(module.name), quoteattr(source))]
    for param in module.params:
        default = "" if param.value is None else " default=%s" % quoteattr(param.value)
        lines.append("    <parameter name=%s%s/>" % (quoteattr(param.name), default))
    for port in module.ports:
        bounds = "" if port.range_text is None else " range=%s" % quoteattr(port.range_text)
        lines.append("    <port name=%s direction=%s%s/>"
                     % (quoteattr(port.name), quoteattr(port.direction), bounds))
    lines += ["  </module>", "</tessel_ip>", ""]
    return "\n".join(lines)
