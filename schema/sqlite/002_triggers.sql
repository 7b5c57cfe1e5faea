-- Every update of a header row moves its row version on, so a delete can tell it changed.
CREATE TRIGGER productstructure_qzts AFTER UPDATE ON ProductStructure
FOR EACH ROW WHEN NEW.qzts = OLD.qzts
BEGIN
    UPDATE ProductStructure SET qzts = OLD.qzts + 1 WHERE ID = NEW.ID;
END;

CREATE TRIGGER prostruopt_qzts AFTER UPDATE ON ProstruOpt
FOR EACH ROW WHEN NEW.qzts = OLD.qzts
BEGIN
    UPDATE ProstruOpt SET qzts = OLD.qzts + 1 WHERE compsubid = NEW.compsubid;
END;

-- A line's psid follows its header's ID, whoever writes the line.
CREATE TRIGGER productstructures_psid_insert AFTER INSERT ON ProductStructures
FOR EACH ROW WHEN NEW.psid IS NULL
BEGIN
    UPDATE ProductStructures SET psid = (SELECT ID FROM ProductStructure WHERE iautoid = NEW.ipid)
    WHERE autoid = NEW.autoid;
END;

CREATE TRIGGER productstructures_psid_update AFTER UPDATE OF ipid ON ProductStructures
FOR EACH ROW
BEGIN
    UPDATE ProductStructures SET psid = (SELECT ID FROM ProductStructure WHERE iautoid = NEW.ipid)
    WHERE autoid = NEW.autoid;
END;
