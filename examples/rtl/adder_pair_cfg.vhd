-- Binds both adders of the pair to the ripple adder entity.
configuration adder_pair_cfg of adder_pair is
    for structural
        for all : add2
            use entity work.adder(rtl);
        end for;
    end for;
end configuration adder_pair_cfg;
