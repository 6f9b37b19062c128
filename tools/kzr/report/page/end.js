document.dispatchEvent(new Event("parts"));
