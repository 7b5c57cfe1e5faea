-- Quantity totals are recomputed per parent code on every save.
CREATE INDEX ix_productstructures_parent ON ProductStructures(cpspcode);
