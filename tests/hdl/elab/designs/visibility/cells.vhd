-- Cells of library mylib, some with the names of cells of work.
entity leaf is
end entity;

architecture a of leaf is
begin
end architecture;

entity other is
end entity;

architecture a of other is
begin
end architecture;

entity third is
end entity;

architecture a of third is
begin
end architecture;
