-- The BOM list is ordered by parent and the first free items; the index lets it stream.
CREATE INDEX ix_productstructure_list_order ON ProductStructure(cpspcode, cfree1, cfree2);
