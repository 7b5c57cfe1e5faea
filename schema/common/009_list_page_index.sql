-- The list reads its headers page by page in this order (nulls as empty text), so each page is
-- a range of this index whatever the size of the account.
CREATE INDEX ix_productstructure_list_page ON ProductStructure((COALESCE(cpspcode,'')), (COALESCE(cfree1,'')), (COALESCE(cfree2,'')), iautoid);
