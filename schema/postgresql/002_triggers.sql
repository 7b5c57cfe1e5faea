-- Every update of a header row moves its row version on, so a delete can tell it changed.
CREATE FUNCTION bump_qzts() RETURNS trigger LANGUAGE plpgsql AS $$
BEGIN
    NEW.qzts := OLD.qzts + 1;
    RETURN NEW;
END;
$$;

CREATE TRIGGER productstructure_qzts BEFORE UPDATE ON ProductStructure
FOR EACH ROW EXECUTE FUNCTION bump_qzts();

CREATE TRIGGER prostruopt_qzts BEFORE UPDATE ON ProstruOpt
FOR EACH ROW EXECUTE FUNCTION bump_qzts();

-- A line's psid follows its header's ID, whoever writes the line.
CREATE FUNCTION productstructures_psid() RETURNS trigger LANGUAGE plpgsql AS $$
BEGIN
    IF TG_OP = 'UPDATE' OR NEW.psid IS NULL THEN
        NEW.psid := (SELECT ID FROM ProductStructure WHERE iautoid = NEW.ipid);
    END IF;
    RETURN NEW;
END;
$$;

CREATE TRIGGER productstructures_psid BEFORE INSERT OR UPDATE OF ipid ON ProductStructures
FOR EACH ROW EXECUTE FUNCTION productstructures_psid();
