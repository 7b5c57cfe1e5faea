-- The item's picture the BOM card shows, and the function right to print, preview and export
-- a card.
ALTER TABLE Inventory ADD COLUMN InvPicture @BLOB@;
INSERT INTO sys_function(cfunccode, cfuncname, cfunctext) VALUES ('AS001P', '物料清单打印', '打印、预览、输出物料清单');
