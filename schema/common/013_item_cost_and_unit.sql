-- The item's reference cost, which a new BOM line takes as its standard price, and its default
-- auxiliary (stock) unit, which a new line takes with its conversion rate.
ALTER TABLE Inventory ADD COLUMN iInvRCost @NUM@;
ALTER TABLE Inventory ADD COLUMN cAssComUnitCode VARCHAR(20) REFERENCES ComputationUnit(cComUnitCode);
