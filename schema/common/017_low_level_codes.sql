-- Every item's low-level code: its deepest level in any structure, one more than its deepest
-- parent's (an item no line uses is at level 0 and has no row). cvia names that parent, so a
-- write that changes a parent's lines knows whose levels to work out again. Levels stop at 99,
-- which only a loop in stored data reaches.
CREATE TABLE bom_llc (
    cinvcode VARCHAR(60) PRIMARY KEY,
    ilevel @INT@ NOT NULL,
    cvia VARCHAR(60) NOT NULL
);
CREATE INDEX ix_bom_llc_via ON bom_llc(cvia);
-- '0' until the codes have been worked out over the whole account, which the first use does:
-- accounts made before, and BOMs loaded by script, start without them.
INSERT INTO AccInformation(cSysID, cID, cName, cValue, cDefault) VALUES ('pp', '2', 'bLowLevelCodes', '0', '0');
